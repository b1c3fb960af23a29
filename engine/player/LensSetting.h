// What is known of the camera's lens: what the client said, what the pictures showed, and the lens
// that follows from both.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/PlaySdk.h"
#include "optics/CircleFinder.h"
#include "optics/Lens.h"

namespace engine {

/// From directions to the pixels of the decoded picture.
struct CameraOptics
{
    std::optional<optics::Lens> lens;  ///< for pictures of the present size; none before the first
    bool mirrored = false;
    bool flipped = false;
    std::uint64_t revision = 0;  ///< grows whenever anything here changes
};

/// The lens record of a player and the lens in force. Not for several threads: the player guards
/// it.
class LensSetting
{
public:
    /// From the stream description's last four bytes: field of view, model, no search.
    explicit LensSetting(const std::uint8_t (&description)[8]);

    /// False: no lens can be made of the record; the one in force stays.
    bool Set(const RvLens& record);
    /// What is in force; before the first picture what was set.
    RvLens Get() const;

    /// The pictures have this size from now on; false when they had it before.
    bool SetPictureSize(int width, int height);
    /// Whether a circle found in a picture would be used.
    bool WantsCircle() const;
    /// A circle was found. The first one is used at once; another one takes its place when it was
    /// found twice in a row, so that an early error goes and a later one does no harm.
    void AddCircle(const optics::CircleFit& circle);

    /// The camera shows the world mirrored (left and right swapped) or flipped (upside down).
    void SetOrientation(bool mirrored, bool flipped);

    const CameraOptics& InForce() const { return m_inForce; }

private:
    void Resolve();

    RvLens m_record{};
    bool m_search = true;
    int m_width = 0;
    int m_height = 0;
    std::optional<optics::CircleFit> m_circle;
    std::optional<optics::CircleFit> m_rival;  ///< found last, and not m_circle
    CameraOptics m_inForce;
};

}  // namespace engine
