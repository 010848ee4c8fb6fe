#pragma once

#include "platform/ApplicationInstance.h"

#include <QObject>
#include <QString>

#include <memory>

namespace quorvel::platform {

/// The session bus knows the first process by the application's name, under which launchers reach it too
/// (org.freedesktop.Application).
class SessionBusInstance final : public QObject, public ApplicationInstance
{
public:
    /// `applicationId` is the base name of the program's desktop entry, such as com.example.Program.
    explicit SessionBusInstance(QString applicationId, QObject* parent = nullptr);
    ~SessionBusInstance() override;
    SessionBusInstance(const SessionBusInstance&) = delete;
    SessionBusInstance(SessionBusInstance&&) = delete;
    SessionBusInstance& operator=(const SessionBusInstance&) = delete;
    SessionBusInstance& operator=(SessionBusInstance&&) = delete;

    [[nodiscard]] Role claim(const QStringList& addresses) override;
    void bringToFront(QWindow& window) override;

private:
    class Interface;

    [[nodiscard]] bool handOver(const QStringList& addresses) const;
    [[nodiscard]] QString objectPath() const;

    QString m_applicationId;
    std::unique_ptr<Interface> m_interface;
};

} // namespace quorvel::platform
