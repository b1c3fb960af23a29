#pragma once

#include <functional>
#include <memory>
#include <thread>

#include <QByteArray>
#include <QObject>
#include <QString>

namespace viewer {

/// What a reader is doing, for people.
enum class StreamState
{
    Connecting,
    Playing,
    Reconnecting,
    Ended,
    Failed
};

/// What is known of a stream once it is open.
struct StreamInfo
{
    QString codec;
    int width = 0;
    int height = 0;
    double rate = 0.0;  ///< pictures a second, 0 where the stream does not say
    bool live = false;  ///< without beginning and end: no pace to keep, none to change
};

/// Reads a file, a URL (rtsp, http, udp, ...) or a camera device on a thread of its own and hands
/// its video on as one endless Matroska stream, in blocks, at the pace of its time stamps (files)
/// or as it comes (live). Nothing is decoded here, but a camera's uncompressed pictures are packed
/// as Motion JPEG, which the engine takes.
///
/// A camera or an address that ends or drops is opened again, after 1 to 8 seconds, a file on a
/// server where it had been; one whose video cannot be played is not. Every opening starts a
/// Matroska stream anew.
///
/// stop() and the destructor return within a moment, or a second where the system holds up the
/// thread, as it does for a name server that does not answer. Neither sink nor signals are called
/// from then on.
class StreamReader : public QObject
{
    Q_OBJECT

public:
    /// Takes one block; false means "full, again later". An empty one says that a file has ended
    /// and is not begun again. Called on the reader's thread, and not again until it has returned.
    using Sink = std::function<bool(const QByteArray& block)>;

    StreamReader(QString source, Sink sink, QObject* parent = nullptr);
    ~StreamReader() override;

    /// Once; after stop() there is no other start.
    void start();
    void stop();
    /// Returns when a call of the sink or a signal that is under way has returned; there is none
    /// from then on. The second of stop() begins here. For whoever has several to stop.
    void askToStop();

    /// For files alone; a live source ignores them. A speed is 0.25 to 4.
    void setPaused(bool paused);
    void setSpeed(double speed);
    void setLoop(bool loop);

    /// How long a live source may give no video, and any other nothing at all, before it counts as
    /// gone, in seconds; 10. To be set before the start.
    void setSilenceLimit(double seconds);

    /// Lets a paused file go on by one picture.
    void step();

    /// Where a file is, in seconds from its start: the packet read last. Set before the start, it
    /// is where reading begins, at the key frame before it.
    double position() const;
    void setPosition(double seconds);

signals:
    // From the reader's thread: connect queued, as Qt does by itself for objects of other threads.
    void stateChanged(viewer::StreamState state, const QString& message);
    void opened(const viewer::StreamInfo& info);
    void dropped(int blocks);  ///< blocks of a live source that the sink had no room for

private:
    class Input;
    class Output;
    class Pace;
    class Recoder;
    class Work;

    const std::shared_ptr<Work> m_work;
    std::thread m_thread;
};

}  // namespace viewer

Q_DECLARE_METATYPE(viewer::StreamState)
Q_DECLARE_METATYPE(viewer::StreamInfo)
