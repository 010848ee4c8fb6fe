#include "platform/linux/desktop/IniUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace quorvel::test {

namespace {

/// Gives up root's power over file permissions for as long as it lives.
class PlainUser
{
public:
    PlainUser()
        : m_isChanged(geteuid() == 0 && setresuid(nobody, nobody, 0) == 0)
    {
    }
    ~PlainUser()
    {
        if (m_isChanged) {
            [[maybe_unused]] const int outcome = setresuid(0, 0, 0);
        }
    }
    PlainUser(const PlainUser&) = delete;
    PlainUser(PlainUser&&) = delete;
    PlainUser& operator=(const PlainUser&) = delete;
    PlainUser& operator=(PlainUser&&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    bool m_isChanged;
};

/// A disk that holds files up to a size, for as long as it lives.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
        : m_previousHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit limit{.rlim_cur = bytes, .rlim_max = m_previous.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk(FullDisk&&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    FullDisk& operator=(FullDisk&&) = delete;

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int);
};

QByteArray everyByte()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value) {
        bytes.append(static_cast<char>(value));
        bytes.append("9f"); // what an escaped byte must not swallow
    }
    return bytes;
}

} // namespace

class IniUserDefaultsTest final : public QObject
{
    Q_OBJECT

private:
    using Store = std::shared_ptr<platform::UserDefaults>;

    std::unique_ptr<QTemporaryDir> m_directory;

    [[nodiscard]] QString path() const { return m_directory->filePath(u"suite.ini"_s); }

    [[nodiscard]] Store reopen() const
    {
        return platform::IniUserDefaultsProvider(m_directory->path()).suite(u"suite"_s);
    }

    void writeFile(const QByteArray& content) const
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

    [[nodiscard]] QByteArray fileContent() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void setPermissions(const QString& target, QFileDevice::Permissions permissions) const
    {
        QVERIFY(QFile::setPermissions(target, permissions));
    }

private Q_SLOTS:
    void init()
    {
        const PlainUser user; // so that the folder is the plain user's own
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
    }

    void bytesSurviveTheFile_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("every byte") << everyByte();
        QTest::newRow("none") << QByteArray("");
        QTest::newRow("a document") << QByteArray("{\"tone\":\"a; b=c, é\",\"list\":[\"data:%41\",1]}");
        QTest::newRow("quote at the end") << QByteArray("\"\\");
        QTest::newRow("one megabyte") << QByteArray(1'000'000, '\x80');
    }
    void bytesSurviveTheFile()
    {
        QFETCH(QByteArray, bytes);
        reopen()->setData(bytes, u"meeting.context"_s);
        QCOMPARE(reopen()->dataForKey(u"meeting.context"_s), bytes);
    }

    void keysHoldBytesOrTruthValues()
    {
        const Store store = reopen();
        QVERIFY(!store->boolForKey(u"flag"_s));
        QCOMPARE(store->dataForKey(u"data"_s), std::nullopt);
        store->setBool(true, u"flag"_s);
        store->setData("true", u"data"_s);
        for (const Store& reader : {store, reopen()}) {
            QVERIFY(reader->boolForKey(u"flag"_s));
            QVERIFY(!reader->boolForKey(u"data"_s));
            QCOMPARE(reader->dataForKey(u"data"_s), QByteArray("true"));
            QCOMPARE(reader->dataForKey(u"flag"_s), std::nullopt);
        }
        store->setBool(false, u"flag"_s);
        QVERIFY(!reopen()->boolForKey(u"flag"_s));
    }

    void onlyTheUserMayReadTheFile()
    {
        reopen()->setBool(true, u"flag"_s);
        const auto others =
            QFileDevice::ReadGroup | QFileDevice::ReadOther | QFileDevice::WriteGroup | QFileDevice::WriteOther;
        QVERIFY(!(QFile::permissions(path()) & others));
    }

    void damageCostsNoReadableKey_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("a line that is none") << QByteArray("# comment\nnonsense\n") << QByteArray("\n\x80\xFF\n");
        QTest::newRow("zeros") << QByteArray("# comment\n") << "\n" + QByteArray(4096, '\0');
        QTest::newRow("cut off in a value") << QByteArray("# comment\n") << QByteArray("\nother=data:{\"a%2");
        QTest::newRow("a section") << QByteArray("[other]\n") << QByteArray("\n[other]\nkept");
        QTest::newRow("a value of another kind") << QByteArray("# comment\n") << QByteArray("\nnew=@Variant\n\n");
    }
    void damageCostsNoReadableKey()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        writeFile(before + "kept=data:value\nconsent=true" + after);
        for (const std::optional<QByteArray>& expected :
             {std::optional<QByteArray>(), std::optional<QByteArray>("1")}) {
            const Store store = reopen();
            QVERIFY(store);
            QCOMPARE(store->dataForKey(u"kept"_s), QByteArray("value"));
            QVERIFY(store->boolForKey(u"consent"_s));
            QCOMPARE(store->dataForKey(u"new"_s), expected);
            store->setData("1", u"new"_s);
        }
        QVERIFY(fileContent().startsWith(before));
    }

    void garbageReadsAsEmptyAndIsRepairedByTheNextWrite()
    {
        QByteArray garbage(64'000, '\0');
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(garbage.data()), garbage.size() / 4);
        writeFile(garbage);
        const Store store = reopen();
        QVERIFY(store);
        QVERIFY(!store->boolForKey(u"consent"_s));
        store->setBool(true, u"consent"_s);
        QVERIFY(reopen()->boolForKey(u"consent"_s));
    }

    void fullDiskKeepsWhatWasStored()
    {
        const Store store = reopen();
        store->setData("old", u"context"_s);
        store->setBool(true, u"consent"_s);
        const QByteArray before = fileContent();
        {
            const FullDisk disk(1000);
            store->setData(QByteArray(5000, 'x'), u"context"_s);
            QCOMPARE(fileContent(), before);
        }
        {
            const FullDisk disk(0);
            store->setBool(false, u"consent"_s);
            QCOMPARE(fileContent(), before);
        }
        store->setBool(true, u"later"_s); // with space again, everything gets through
        const Store reopened = reopen();
        QCOMPARE(reopened->dataForKey(u"context"_s), QByteArray(5000, 'x'));
        QVERIFY(!reopened->boolForKey(u"consent"_s));
        QVERIFY(reopened->boolForKey(u"later"_s));
    }

    void readOnlyPlacesAreReadAndLeftAlone_data()
    {
        QTest::addColumn<bool>("folder");
        QTest::newRow("file") << false;
        QTest::newRow("folder") << true;
    }
    void readOnlyPlacesAreReadAndLeftAlone()
    {
        QFETCH(bool, folder);
        const PlainUser user;
        reopen()->setBool(true, u"consent"_s);
        const QByteArray before = fileContent();
        const QString target = folder ? m_directory->path() : path();
        setPermissions(target, QFileDevice::ReadOwner | (folder ? QFileDevice::ExeOwner : QFileDevice::Permission{}));

        const Store store = reopen();
        QVERIFY(store);
        QVERIFY(store->boolForKey(u"consent"_s));
        store->setBool(false, u"consent"_s);
        store->setData("new", u"context"_s);
        QCOMPARE(store->dataForKey(u"context"_s), QByteArray("new")); // until the end of the process
        QCOMPARE(fileContent(), before);

        setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    void unusableSuiteIsNullAndTheStandardOneStillWorks_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::newRow("unreadable file") << u"unreadable"_s;
        QTest::newRow("a folder in its place") << u"folder"_s;
        QTest::newRow("no folder possible") << u"parent"_s;
    }
    void unusableSuiteIsNullAndTheStandardOneStillWorks()
    {
        QFETCH(QString, obstacle);
        const PlainUser user;
        QString directory = m_directory->path();
        if (obstacle == u"unreadable"_s) {
            writeFile("# comment\n");
            setPermissions(path(), QFileDevice::WriteOwner);
        } else if (obstacle == u"folder"_s) {
            QVERIFY(QDir().mkpath(path()));
        } else {
            writeFile("a file where the folder should be");
            directory = path() + "/quorvel"_L1;
        }
        platform::IniUserDefaultsProvider provider(directory);

        QVERIFY(!provider.suite(u"suite"_s));
        const Store standard = provider.standard();
        QVERIFY(standard);
        standard->setBool(true, u"flag"_s);
        QVERIFY(standard->boolForKey(u"flag"_s));
    }

    void killedWriterLeavesWholeValues()
    {
        reopen()->setData("untouched", u"overlay.settings"_s);
        const int kills = 20;
        for (int round = 0; round < kills; ++round) {
            QProcess writer;
            writer.start(QStringLiteral(DEFAULTS_WRITER), {m_directory->path(), QString::number(round)});
            QVERIFY(writer.waitForReadyRead());
            // Any moment of a save will do, so the moment is drawn by lot.
            std::this_thread::sleep_for(std::chrono::microseconds(QRandomGenerator::global()->bounded(20'000)));
            writer.kill();
            QVERIFY(writer.waitForFinished());

            const Store store = reopen();
            QCOMPARE(store->dataForKey(u"overlay.settings"_s), QByteArray("untouched"));
            const QByteArray value = store->dataForKey(u"meeting.context"_s).value_or("");
            static const QRegularExpression whole(u"^\\d+x*\\.$"_s);
            QVERIFY2(whole.match(QString::fromLatin1(value)).hasMatch(), value.constData());
            QCOMPARE(value.count('x') % 200, 0);
            QVERIFY(value.startsWith(QByteArray::number(round)));
        }
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList{u"suite.ini"_s});
    }

    void writersKeepEachOthersKeys()
    {
        const Store store = reopen();
        QProcess writer;
        writer.start(QStringLiteral(DEFAULTS_WRITER), {m_directory->path(), u"7"_s});
        QVERIFY(writer.waitForReadyRead());
        for (int round = 0; round < 20; ++round) {
            store->setData(QByteArray::number(round), u"mine %1"_s.arg(round));
        }
        writer.kill();
        QVERIFY(writer.waitForFinished());

        const Store reopened = reopen();
        for (int round = 0; round < 20; ++round) {
            QCOMPARE(reopened->dataForKey(u"mine %1"_s.arg(round)), QByteArray::number(round));
        }
        QVERIFY(reopened->dataForKey(u"meeting.context"_s));
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::IniUserDefaultsTest)
#include "IniUserDefaultsTest.moc"
