#include "platform/linux/capture/X11ShareableContentProvider.h"

#include "platform/linux/capture/X11ContentReader.h"

#include <thread>
#include <utility>

namespace quorvel::platform {

namespace {

class X11ShareableContentProvider final : public ShareableContentProvider
{
public:
    [[nodiscard]] Task<Result<ShareableContent>> shareableContent(bool excludingDesktopWindows,
                                                                  bool onScreenWindowsOnly) override
    {
        const auto content = std::make_shared<Promise<ShareableContent>>();
        m_reading = std::jthread(
            [this, content, excludingDesktopWindows, onScreenWindowsOnly, before = std::move(m_reading)]() mutable {
                before = {}; // One at a time: this waits for its end.
                content->finish(m_reader.read(excludingDesktopWindows, onScreenWindowsOnly));
            });
        return content->result();
    }

private:
    X11ContentReader m_reader;
    // Destroyed first, which waits for what it runs.
    std::jthread m_reading;
};

} // namespace

std::shared_ptr<ShareableContentProvider> makeX11ShareableContentProvider()
{
    return std::make_shared<X11ShareableContentProvider>();
}

} // namespace quorvel::platform
