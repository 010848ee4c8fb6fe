#include "capture/CaptureSource.h"

using namespace Qt::StringLiterals;

namespace quorvel {

QString CaptureSource::subtitle() const
{
    switch (kind) {
    case CaptureSourceKind::browser:
        return applicationName.isEmpty() ? u"Browser tab or window"_s : applicationName;
    case CaptureSourceKind::window:
        return applicationName.isEmpty() ? u"Application window"_s : applicationName;
    case CaptureSourceKind::screen:
        break;
    }
    return u"Entire screen"_s;
}

QString CaptureSource::displayName() const
{
    return kind != CaptureSourceKind::screen && title.isEmpty() ? applicationName : title;
}

} // namespace quorvel
