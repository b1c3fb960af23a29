/* The open player engine: its entry points and records.
 *
 * A player decodes one stream of bytes and renders it into any number of views: its main window
 * (the picture as it is, or the fisheye picture) and corrected views, each into an X11 window, to a
 * callback, or both. Every function may be called from any thread, from the callbacks as well; but
 * two callbacks that run at the same time must not clear each other, or delete each other's view or
 * player: both would wait for ever.
 * Results are 0 or a non-negative value for success and RV_REFUSED (-1) for a bad argument (an
 * unknown id, a null pointer, a record of the wrong size) or where memory or threads run out; a
 * player that lacks memory for a picture loses that picture. Positions are ten-thousandths of the
 * fisheye picture; pixels are BGRA, four bytes each, rows without gaps.
 */
#pragma once

#include <stdint.h>

#if defined(__GNUC__)
#define RV_API __attribute__((visibility("default")))
#else
#define RV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum
{
    RV_REFUSED = -1,        /* bad argument, or no memory */
    RV_OUTSIDE_CIRCLE = -2, /* RV_SetFishEyeCorrectPara: the centre lies outside the image circle */
    RV_BUFFER_FULL = -3     /* RV_PutStreamToPlayer: nothing was taken, try again */
};

/* What a view shows: iCorrectMode of the creation record. */
enum
{
    RV_MODE_SOURCE = 0x000,   /* the decoded picture as it is */
    RV_MODE_PTZ = 0x100,      /* pan/tilt/zoom: a perspective view */
    RV_MODE_180 = 0x200,      /* half the surroundings */
    RV_MODE_PANORAMA = 0x300, /* all the surroundings */
    RV_MODE_LAT = 0x400,      /* longitude and latitude of the lens's hemisphere */
    RV_MODE_FISHEYE = 0x500   /* the fisheye picture */
};

/* How the camera is installed: iCreateType of the creation record; other values are a ceiling. */
enum
{
    RV_MOUNT_CEILING = 0,
    RV_MOUNT_WALL = 1,
    RV_MOUNT_FLOOR = 2
};

/* Creation of a player, for RV_CreatePlayerForSpecialNeeds (kind 2). */
typedef struct RvPlayerCreation
{
    int32_t iSize; /* 32 */
    int32_t iReserved;
    void* pWindow; /* the main window, an X11 window id; null plays without one */
    /* Bytes 0-3: FourCC of the container or elementary stream: "MPTS", "MKV ", "MP4 ", "H264",
     * "H265", "MJPG"; zeros, "AUTO" and what is not known are found from the data.
     * Bytes 4-5: the lens's field of view in tenths of a degree, little-endian; 0 is 180 degrees.
     * Byte 6: the lens model, 0 to 3 as in RvLens. Byte 7, bit 0: do not look for the image circle
     * in the pictures, take the largest centred one; also where an RvLens set later says "find". */
    uint8_t aucStream[8];
    void* pReserved;
} RvPlayerCreation;

/* Creation of a corrected view, for RV_CreateFishEyeCorrect and RV_SetFishEyeCorrectEnable. */
typedef struct RvCreateCorrect
{
    int32_t iSize; /* 88 */
    int32_t iCreateType;
    int32_t iCorrectMode;
    int32_t aiReserved[5];
    int32_t aiEngineParam[3];
    int32_t iPtzIndex;
    int32_t iPositionX; /* 0..10000; RV_MODE_PTZ: the centre. One outside the circle stands for the
                           nearest point of the rim, which is what is then read */
    int32_t iPositionY;
    int32_t iZoom; /* 500..10000 (clamped), 10000 is 90 degrees across the shorter window side */
    int32_t iExtra1;
    int32_t iExtra2;
    int32_t iPadding;
    void* pWindow; /* RV_CreateFishEyeCorrect: used when its own window argument is null */
    void* pReserved;
} RvCreateCorrect;

/* Parameter kind 1: a pan/tilt/zoom view. Fields without a meaning come back as they were set. */
typedef struct RvPtz
{
    int32_t iEngineField0;
    int32_t iEngineField1;
    int32_t iPositionX;
    int32_t iPositionY;
    int32_t iZoom;
    int32_t aiEngineFields[3];
} RvPtz;

/* Parameter kind 3: the 180 view and the panorama. */
typedef struct RvWideScan
{
    int32_t iScanParam; /* comes back as it was set */
    float fAngle;       /* degrees, any finite number */
} RvWideScan;

enum
{
    RV_KIND_PTZ = 1,
    RV_KIND_WIDE_SCAN = 3
};

/* Commands of RV_PlayerControl. */
enum
{
    /* RvLens; in force from the next picture drawn. What it says to find is looked for anew in the
     * pictures that follow. RV_REFUSED where no lens can be made of it, without a word about which
     * field is wrong; the one in force stays. */
    RV_CONTROL_SET_LENS = 1,
    RV_CONTROL_GET_LENS = 2, /* RvLens: what is in force, found values included */
    /* No record (null, 0): what was put so far is the whole stream. The last pictures come out
     * without waiting for more data, then the end is notified; a later put begins a new stream.
     * Until the end has been reached a put is refused with RV_BUFFER_FULL: try again. */
    RV_CONTROL_END_OF_STREAM = 3,
    RV_CONTROL_SET_ORIENTATION = 4, /* RvOrientation */
    RV_CONTROL_GET_ORIENTATION = 5, /* RvOrientation */
    RV_CONTROL_FIND_VIEW = 6        /* RvFindView: which view is shown in a window */
};

/* How the camera's picture stands to the world. Every view, the source picture too, shows the world
 * the right way round. */
typedef struct RvOrientation
{
    int32_t iSize;     /* 12 */
    int32_t iMirrored; /* 1: left and right are swapped */
    int32_t iFlipped;  /* 1: above and below are swapped */
} RvOrientation;

/* The real lens. */
typedef struct RvLens
{
    int32_t iSize;  /* 616 */
    int32_t iModel; /* 0 equidistant, 1 stereographic, 2 equisolid angle, 3 orthographic,
                       4 Kannala-Brandt, 5 table */
    int32_t iWidth; /* the picture size, up to 16384, of the pixel figures; 0 = the stream's */
    int32_t iHeight;
    double dFieldOfView;  /* degrees, 0 = 180; of a table: as far as its rows go */
    double dCentreX;      /* pixels, pixel centres at whole numbers; NaN = find */
    double dCentreY;      /* likewise */
    double dFocalX;       /* pixels per radian; 0 = from circle radius and field of view. Of a table
                             the ratio of the two alone counts. */
    double dFocalY;       /* likewise */
    double dCircleRadius; /* pixels; 0 = find, or no limit where focal lengths or a table tell it */
    double adK[4];        /* Kannala-Brandt coefficients */
    int32_t iTableLength; /* rows of adTable, model 5 */
    int32_t iZero;
    double adTable[32][2]; /* degrees off the axis, pixels from the centre */
} RvLens;

/* The view shown in a window, for clients that were told no id. */
typedef struct RvFindView
{
    int32_t iSize;    /* 16 */
    int32_t iCorrect; /* out: the view's id; -1 where no view of the player has that window */
    void* pWindow;    /* as at the view's creation; the main window too */
} RvFindView;

/* What a player plays, and how well: RV_GetVideoParam. Figures that are not known yet are 0. */
typedef struct RvVideoParam
{
    int32_t iSize;  /* 88, set by the caller */
    int32_t iWidth; /* decoded picture */
    int32_t iHeight;
    char acCodec[4];        /* "H264", "H265", "MJPG" */
    char acContainer[4];    /* "MPTS", "MKV ", "MP4 ", or the codec's for elementary streams */
    int32_t iBytesBuffered; /* put and not yet decoded */
    double dFrameRate;      /* pictures per second of the stream's time */
    int64_t llDecoded;      /* pictures */
    int64_t llShown;        /* pictures handed to the views */
    int64_t llDropped;      /* pictures that were late and left out */
    int64_t llErrors;       /* packets that the decoder refused */
    double dDecodeMs;       /* per picture, moving average */
    double dDrawMs;         /* per drawn picture: all views, moving average */
    double dLatencyMs;      /* last byte put -> views drawn, moving average */
} RvVideoParam;

/* A text drawn over a view's window; not part of the callback's pixels. */
typedef struct RvText
{
    const char* pcText; /* ASCII; '\n' begins a line, other characters show as a box */
    float fX;           /* top left corner as fractions of the view */
    float fY;
    int32_t iHeight;   /* of a line, in pixels, 8..256 */
    uint32_t uiColour; /* 0xAARRGGBB */
} RvText;

/* A polyline drawn over a view's window. */
typedef struct RvPolyline
{
    const float* pfPoints; /* iCount pairs x, y: fractions of the view */
    int32_t iCount;
    int32_t iWidth;    /* pixels, 1..32 */
    uint32_t uiColour; /* 0xAARRGGBB */
} RvPolyline;

/* Called with every rendered picture of a view, from a render thread: once for each decoded
 * picture, and again when the view, its size or the lens changes. The pixels are valid until it
 * returns. It may call any entry point, for its own player too. */
typedef void (*RvCorrectCallback)(int player, int correct, void* bgra, unsigned int width,
                                  unsigned int height, void* user);

/* Called when the last picture before RV_CONTROL_END_OF_STREAM has been shown; not for a stream
 * that RV_Stop or RV_CleanStreamBuffer forgot. Nothing is read from the buffer while it runs: it
 * must not wait for room there. */
typedef void (*RvEndCallback)(int player, void* user);

/* ---- The system. */

/* Settings of other engines' decoders: checked (a record whose first int32 is its size) and
 * otherwise without effect. */
RV_API int RV_SetAVMode(int kind, void* record, int size);
RV_API int RV_SetVideoMode(int kind, void* record, int size);
/* Needed by nobody; returns 0. */
RV_API int RV_CreateSystem(int reserved);
/* Deletes every player. */
RV_API int RV_DeleteSystem(void);
/* major * 65536 + minor * 256 + patch */
RV_API int RV_GetVersion(void);

/* ---- Players. */

/* kind 2, an RvPlayerCreation, its size 32. Returns the player's id, above 0. */
RV_API int RV_CreatePlayerForSpecialNeeds(int kind, void* record, int size, int reserved);
/* When it returns no callback of this player runs or will run, except the one it is called from. */
RV_API int RV_DeletePlayer(int player);
/* Starts or goes on. Data put before is kept. */
RV_API int RV_Play(int player);
/* paused 1 holds the picture (views may still be steered), 0 goes on. */
RV_API int RV_Pause(int player, int paused);
/* Stops and forgets the data put so far; the last picture stays. RV_Play starts anew. */
RV_API int RV_Stop(int player);
/* While paused: shows the next picture, as soon as there is one; playing and cleaning forget what
 * was not shown. */
RV_API int RV_StepForward(int player);
/* Plays at `times` (1..16) the speed, or at one `times`-th of it; 1 is the normal speed. */
RV_API int RV_FastForward(int player, int times);
RV_API int RV_SlowForward(int player, int times);
/* Copies a block of the stream: 0 taken, RV_BUFFER_FULL, RV_REFUSED. */
RV_API int RV_PutStreamToPlayer(int player, unsigned char* data, int size);
/* Forgets what was put and not decoded; the next byte put begins a stream. */
RV_API int RV_CleanStreamBuffer(int player);
/* The size of the buffer, 64 KiB to 64 MiB (clamped); 4 MiB where it was never set. */
RV_API int RV_SetFrameListBufferSize(int player, int bytes);
/* A null callback clears. When that returns the callback does not run, except from within it. */
RV_API int RV_RegisterNotifyPlayToEnd(int player, RvEndCallback callback, void* user);
RV_API int RV_PlayerControl(int player, int command, void* record, int size);

/* Refused (-1) while no picture has been shown. */
RV_API int RV_GetFrameRate(int player, double* pictures_per_second);
/* Time of the picture shown, since the first picture of the stream. Another stream begins behind
 * RV_CONTROL_END_OF_STREAM, RV_CleanStreamBuffer and RV_Stop. */
RV_API int RV_GetPlayTime(int player, int64_t* milliseconds);
/* Number of pictures shown so far. */
RV_API int RV_GetPlayingFrameNum(int player);
RV_API int RV_GetVideoParam(int player, RvVideoParam* param, int size);

/* ---- Views. `correct` is a view's id. */

/* 0: switches the main window to the decoded picture, 1: to the fisheye picture, with a creation
 * record of which the mount alone counts: the main window is that of the player's creation. Returns
 * the main window's view id, which never changes; 0 when switching off. */
RV_API int RV_SetFishEyeCorrectEnable(int player, int enable, void* record);
/* size 88. Returns the view's id, above 0, and writes it to `correct`. */
RV_API int RV_CreateFishEyeCorrect(int player, void* record, int size, void* window, int* correct);
RV_API int RV_DeleteFishEyeCorrect(int player, int correct);
/* A null callback clears. When the call returns the former callback does not run, except from
 * within it. */
RV_API int RV_SetFishEyeCorrectCallBack(int player, int correct, RvCorrectCallback callback,
                                        void* user);
RV_API int RV_GetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size);
/* RV_OUTSIDE_CIRCLE: not taken, the view stays as it is. */
RV_API int RV_SetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size);
/* The size at which a view is rendered, 1..8192 each way, whatever its window (which shows it
 * centred); 0, 0: the window's size, or 640 x 640 without one. */
RV_API int RV_SetPlayRectEx(int player, int correct, int width, int height);

/* ---- Capture. `correct` 0 is the decoded picture, the right way round (RvOrientation); a view is
 * rendered at its size. */

/* A file whose ending says its format: .png, .jpg or .bmp. */
RV_API int RV_CapturePicture(int player, int correct, const char* file);
/* `correct` 0 as a BMP file. */
RV_API int RV_CaptureBmpPic(int player, const char* file);
/* Pixels to memory. The size is written to width and height also when `capacity` (bytes) is too
 * small, which is refused. */
RV_API int RV_CapturePic(int player, int correct, void* bgra, int capacity, int* width,
                         int* height);

/* ---- Drawing on a window. Each call replaces what the call before it set; a count of 0 clears. */

RV_API int RV_DrawText(int player, int correct, const RvText* texts, int count);
RV_API int RV_DrawPolyOnLocalVideo(int player, int correct, const RvPolyline* lines, int count);

#ifdef __cplusplus
}
#endif
