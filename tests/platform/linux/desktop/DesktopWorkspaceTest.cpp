#include "platform/linux/desktop/DesktopWorkspace.h"

#include "support/EventLoop.h"

#include <QFile>
#include <QFileSystemWatcher>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel::test {

class DesktopWorkspaceTest final : public QObject
{
    Q_OBJECT

private:
    /// The only folder with programs, and where they leave what they were started with.
    std::unique_ptr<QTemporaryDir> m_programs;

    void install(const QString& name) const
    {
        QFile program(m_programs->filePath(name));
        QVERIFY(program.open(QIODevice::WriteOnly));
        program.write("#!/bin/sh\necho \"${0##*/} $*\" >\"${0%/*}/started\"\n");
        program.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    [[nodiscard]] QString started() const
    {
        QFile file(m_programs->filePath(u"started"_s));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
    }

private Q_SLOTS:
    void init()
    {
        m_programs = std::make_unique<QTemporaryDir>();
        qputenv("PATH", m_programs->path().toLocal8Bit());
    }

    void settingsOpenWithWhatThereIs_data()
    {
        QTest::addColumn<QString>("desktop");
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("command"); // empty: nothing can be opened
        const QString privacy = QString::fromLatin1(platform::privacySettingsAddress);
        const QString sound = QString::fromLatin1(platform::soundSettingsAddress);
        const QStringList everything{u"gnome-control-center"_s, u"systemsettings"_s, u"pavucontrol"_s};
        QTest::newRow("the desktop's own") << u"KDE"_s << everything << sound << u"systemsettings kcm_pulseaudio"_s;
        QTest::newRow("a derived desktop")
            << u"ubuntu:GNOME"_s << everything << privacy << u"gnome-control-center microphone"_s;
        QTest::newRow("another desktop's")
            << u"sway"_s << QStringList{u"gnome-control-center"_s} << sound << u"gnome-control-center sound"_s;
        QTest::newRow("sound for privacy") << u""_s << QStringList{u"pavucontrol"_s} << privacy << u"pavucontrol"_s;
        QTest::newRow("none") << u"GNOME"_s << QStringList{} << privacy << u""_s;
        QTest::newRow("another page") << u"GNOME"_s << everything << u"desktop-settings:nothing"_s << u""_s;
    }
    void settingsOpenWithWhatThereIs()
    {
        QFETCH(QString, desktop);
        QFETCH(QStringList, installed);
        QFETCH(QString, address);
        QFETCH(QString, command);
        qputenv("XDG_CURRENT_DESKTOP", desktop.toLocal8Bit());
        for (const QString& program : installed) {
            install(program);
        }
        QFileSystemWatcher watcher({m_programs->path()});

        QCOMPARE(platform::DesktopWorkspace().open(QUrl(address)), !command.isEmpty());

        QVERIFY(command.isEmpty() || waitUntil([this] { return !started().isEmpty(); }));
        QCOMPARE(started(), command);
    }

    void addressesGoToTheOpener()
    {
        qputenv("XDG_CURRENT_DESKTOP", "");
        QVERIFY(!platform::DesktopWorkspace().open(QUrl(u"https://example.org/"_s)));
        install(u"xdg-open"_s);
        QFileSystemWatcher watcher({m_programs->path()});
        QVERIFY(platform::DesktopWorkspace().open(QUrl(u"https://example.org/a?b=c&d=%20e#f"_s)));
        QVERIFY(waitUntil([this] { return !started().isEmpty(); }));
        QCOMPARE(started(), u"xdg-open https://example.org/a?b=c&d=%20e#f"_s);
        QVERIFY(!platform::DesktopWorkspace().open(QUrl()));
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::DesktopWorkspaceTest)
#include "DesktopWorkspaceTest.moc"
