#include "storage/SettingsStore.h"

#include <QString>

using namespace Qt::StringLiterals;

namespace quorvel {

std::shared_ptr<platform::UserDefaults> openSettingsStore(platform::UserDefaultsProvider& provider)
{
    if (std::shared_ptr<platform::UserDefaults> suite = provider.suite(u"com.quorvel.settings"_s)) {
        return suite;
    }
    return provider.standard();
}

} // namespace quorvel
