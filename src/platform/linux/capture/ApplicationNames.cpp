#include "platform/linux/capture/ApplicationNames.h"

#include <gio/gdesktopappinfo.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

void freeApplications(GList* applications)
{
    g_list_free_full(applications, g_object_unref);
}

} // namespace

ApplicationNames::ApplicationNames()
{
    const std::unique_ptr<GList, decltype(&freeApplications)> applications(g_app_info_get_all(), &freeApplications);
    for (const GList* entry = applications.get(); entry != nullptr; entry = entry->next) {
        auto* application = static_cast<GAppInfo*>(entry->data);
        const QString name = QString::fromUtf8(g_app_info_get_display_name(application));
        QString file = QString::fromUtf8(g_app_info_get_id(application)).toLower();
        if (file.endsWith(u".desktop"_s)) {
            file.chop(8);
        }
        m_byEntry.insert(file, name);
        if (const char* windowClass = g_desktop_app_info_get_startup_wm_class(G_DESKTOP_APP_INFO(application))) {
            m_byWindowClass.insert(QString::fromUtf8(windowClass).toLower(), name);
        }
    }
}

QString ApplicationNames::find(const QString& instanceName, const QString& className) const
{
    // The instance comes first: web applications installed by a browser share the browser's class.
    for (const QHash<QString, QString>* names : {&m_byWindowClass, &m_byEntry}) {
        for (const QString& key : {instanceName.toLower(), className.toLower()}) {
            if (const auto found = names->find(key); found != names->end() && !key.isEmpty()) {
                return *found;
            }
        }
    }
    return {};
}

} // namespace quorvel::platform
