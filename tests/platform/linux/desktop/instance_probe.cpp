// A program that is one for each session, for its test: prints its role, then what reaches it, one line each.
// Usage: instance_probe [ADDRESS...]

#include "platform/linux/desktop/AddressArguments.h"
#include "platform/linux/desktop/SessionBusInstance.h"

#include <QFile>
#include <QGuiApplication>

#include <cstdio>

using namespace Qt::StringLiterals;
using quorvel::platform::ApplicationInstance;

namespace {

void print(const QString& line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[])
{
    const QStringList addresses = quorvel::platform::takeAddressArguments(argc, argv, u"quorvel"_s);
    const QGuiApplication application(argc, argv);
    quorvel::platform::SessionBusInstance instance(u"com.quorvel.Test"_s);
    instance.onActivate = [] { print(u"activate"_s); };
    instance.onOpen = [](const QString& address) { print(u"open "_s + address); };

    const ApplicationInstance::Role role = instance.claim(addresses);
    if (role == ApplicationInstance::Role::second) {
        print(u"second"_s);
        return 0;
    }
    print(role == ApplicationInstance::Role::first ? u"first"_s : u"alone"_s);
    for (const QString& address : addresses) {
        print(u"own "_s + address);
    }
    QFile commandLine(u"/proc/self/cmdline"_s);
    if (commandLine.open(QIODevice::ReadOnly)) {
        print(u"secrets "_s + QString::number(commandLine.readAll().count("secret")));
    }
    return QGuiApplication::exec();
}
