#pragma once

#include "platform/UserDefaults.h"

#include <QString>

namespace quorvel::platform {

/// Stores with one file of "key=value" lines each. A change is on disk, whole, when the call that made it returns.
/// Lines of other processes, other versions and those that nobody understands are kept as they are. What cannot be
/// written is remembered until the end of the process, and written together with the next change that can.
class IniUserDefaultsProvider final : public UserDefaultsProvider
{
public:
    /// `directory` is made when the first store is opened.
    explicit IniUserDefaultsProvider(QString directory);

    /// The user's configuration folder of this program.
    [[nodiscard]] static QString defaultDirectory();

    [[nodiscard]] std::shared_ptr<UserDefaults> suite(const QString& name) override;
    [[nodiscard]] std::shared_ptr<UserDefaults> standard() override;

private:
    [[nodiscard]] QString filePath(const QString& name) const;

    QString m_directory;
};

} // namespace quorvel::platform
