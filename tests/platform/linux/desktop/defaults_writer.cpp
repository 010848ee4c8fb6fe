// Stores ever longer values under two keys until it is killed. Usage: defaults_writer <directory> <seed>

#include "platform/linux/desktop/IniUserDefaults.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    quorvel::platform::IniUserDefaultsProvider provider(arguments.at(1));
    const auto store = provider.suite(u"suite"_s);
    if (!store) {
        return 1;
    }
    for (int round = 0;; ++round) {
        const QByteArray value = arguments.at(2).toLatin1() + QByteArray(qsizetype{200} * (round % 50), 'x') + '.';
        store->setData(value, u"meeting.context"_s);
        if (round == 0) {
            std::puts("writing");
            std::fflush(stdout);
        }
    }
}
