#include "platform/linux/capture/X11ShareableContentProvider.h"

#include "platform/linux/capture/X11ContentReader.h"

#include <QThreadPool>

namespace quorvel::platform {

namespace {

class X11ShareableContentProvider final : public ShareableContentProvider
{
public:
    X11ShareableContentProvider() { m_thread.setMaxThreadCount(1); }

    [[nodiscard]] Task<Result<ShareableContent>> shareableContent(bool excludingDesktopWindows,
                                                                  bool onScreenWindowsOnly) override
    {
        const auto content = std::make_shared<Promise<ShareableContent>>();
        m_thread.start([this, content, excludingDesktopWindows, onScreenWindowsOnly] {
            content->finish(m_reader.read(excludingDesktopWindows, onScreenWindowsOnly));
        });
        return content->result();
    }

private:
    X11ContentReader m_reader;
    // Destroyed first, which waits for what it runs.
    QThreadPool m_thread;
};

} // namespace

std::shared_ptr<ShareableContentProvider> makeX11ShareableContentProvider()
{
    return std::make_shared<X11ShareableContentProvider>();
}

} // namespace quorvel::platform
