#include "platform/linux/desktop/AddressArguments.h"

#include <strings.h>

#include <cstring>
#include <span>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

QStringList takeAddressArguments(int& argc, char** argv, const QString& scheme)
{
    QStringList addresses;
    int kept = 0;
    for (char* const argument : std::span(argv, static_cast<std::size_t>(argc))) {
        QString text = QString::fromLocal8Bit(argument);
        if (kept > 0 && text.startsWith(scheme + u':', Qt::CaseInsensitive)) {
            explicit_bzero(argument, std::strlen(argument));
            addresses.append(std::move(text));
        } else {
            argv[kept++] = argument;
        }
    }
    argc = kept;
    argv[argc] = nullptr;
    return addresses;
}

} // namespace quorvel::platform
