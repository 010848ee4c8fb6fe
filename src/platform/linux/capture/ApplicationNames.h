#pragma once

#include <QHash>
#include <QString>

namespace quorvel::platform {

/// The names of the installed applications in the user's language, as their desktop entries give them at the time when
/// this is made. Any thread.
class ApplicationNames
{
public:
    ApplicationNames();

    /// The application whose windows have this WM_CLASS; empty when no desktop entry says so.
    [[nodiscard]] QString find(const QString& instanceName, const QString& className) const;

private:
    QHash<QString, QString> m_byWindowClass; ///< keys in lower case
    QHash<QString, QString> m_byEntry;       ///< keys in lower case
};

} // namespace quorvel::platform
