#pragma once

#include <QString>
#include <QStringList>

namespace quorvel::platform {

/// Takes the addresses of `scheme` out of a program's arguments, letter case of the scheme ignored, and wipes them from
/// the process's memory, where every user of the machine could read them. To be called first of all in main().
[[nodiscard]] QStringList takeAddressArguments(int& argc, char** argv, const QString& scheme);

} // namespace quorvel::platform
