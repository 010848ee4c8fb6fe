#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace quorvel::platform {

/// Mixes stereo sound to mono and cuts it into buffers of one size. Never allocates. One thread at a time.
class MonoFrames
{
public:
    /// 20 ms at 24,000 frames per second.
    static constexpr std::size_t framesPerBuffer = 480;

    /// Calls `deliver` with each full buffer, which is valid during the call. `interleaved` holds left and right in
    /// turn.
    template <typename Deliver>
    void push(std::span<const float> interleaved, const Deliver& deliver)
    {
        for (std::size_t index = 0; index + 1 < interleaved.size(); index += 2) {
            m_frames[m_count++] = (interleaved[index] + interleaved[index + 1]) * 0.5F;
            if (m_count == framesPerBuffer) {
                m_count = 0;
                deliver(std::span<const float>(m_frames));
            }
        }
    }

private:
    std::array<float, framesPerBuffer> m_frames{};
    std::size_t m_count = 0;
};

} // namespace quorvel::platform
