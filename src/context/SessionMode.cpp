#include "context/SessionMode.h"

using namespace Qt::StringLiterals;

namespace quorvel {

QString modeDescription(SessionMode mode)
{
    switch (mode) {
    case SessionMode::hr:
        return u"HR answers prioritize concise behavioral framing grounded in your resume and the role."_s;
    case SessionMode::technical:
        return u"Technical answers prioritize direct reasoning, tradeoffs, and concrete examples."_s;
    }
    return {};
}

} // namespace quorvel
