#include "platform/linux/capture/ProcessFilter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

using platform::ProcessFilter;
using platform::ProcessTable;
using platform::ProcessTree;

/// A directory in the shape of the kernel's process table.
class FakeProcesses
{
public:
    void add(int processId, int parent, int startTime = 1, const QString& name = u"program"_s, const QString& ids = {})
    {
        const QString directory = m_directory.filePath(QString::number(processId));
        QDir().mkpath(directory);
        // Fields 3 (state), 4 (parent) and 22 (start time) of the kernel's format, with a name meant to mislead.
        write(directory + u"/stat"_s, u"%1 (a) R 7 (b) S %2 "_s.arg(processId).arg(parent) + u"0 "_s.repeated(17) +
                                          QString::number(startTime) + u" 0"_s);
        write(directory + u"/status"_s,
              u"Name:\tx\nNSpid:\t%1\nThreads:\t1\n"_s.arg(ids.isEmpty() ? QString::number(processId) : ids));
        QFile::remove(directory + u"/exe"_s);
        QFile::link(u"/usr/bin/"_s + name, directory + u"/exe"_s);
    }
    void remove(int processId) { QDir(m_directory.filePath(QString::number(processId))).removeRecursively(); }

    [[nodiscard]] ProcessTable table() const { return ProcessTable(m_directory.path().toStdString()); }

private:
    static void write(const QString& path, const QString& text)
    {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(text.toUtf8());
        }
    }

    QTemporaryDir m_directory;
};

} // namespace

class ProcessFilterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acceptsTheTreeOfAnApplication();
    void keepsWhoeverOutlivesItsParents();
    void isNotFooledByAReusedNumber();
    void leavesOurselvesOut();
    void endsOnALoop();
    void findsAProcessByWhatItCallsItself_data();
    void findsAProcessByWhatItCallsItself();
    void knowsTheProgramOfAProcess();
};

void ProcessFilterTest::acceptsTheTreeOfAnApplication()
{
    FakeProcesses processes;
    processes.add(1, 0);
    processes.add(10, 1);
    processes.add(11, 10);
    processes.add(12, 11);
    processes.add(20, 1);
    ProcessFilter filter(ProcessTree({10}, processes.table()), ProcessTree({}, processes.table()));
    QVERIFY(filter.accepts(10));
    QVERIFY(filter.accepts(12));
    QVERIFY(!filter.accepts(20));
    QVERIFY(!filter.accepts(1));
    QVERIFY(!filter.accepts(0));
    QVERIFY(!filter.accepts(99));
}

void ProcessFilterTest::keepsWhoeverOutlivesItsParents()
{
    FakeProcesses processes;
    processes.add(10, 1);
    processes.add(11, 10);
    ProcessFilter filter(ProcessTree({10}, processes.table()), ProcessTree({}, processes.table()));
    QVERIFY(filter.accepts(11));
    processes.remove(10);
    processes.add(11, 1); // as the kernel does with orphans
    processes.add(12, 11);
    QVERIFY(filter.accepts(11));
    QVERIFY(filter.accepts(12));
}

void ProcessFilterTest::isNotFooledByAReusedNumber()
{
    FakeProcesses processes;
    processes.add(10, 1, 500);
    ProcessFilter filter(ProcessTree({10}, processes.table()), ProcessTree({}, processes.table()));
    QVERIFY(filter.accepts(10));
    processes.add(10, 1, 900);
    QVERIFY(!filter.accepts(10));
}

void ProcessFilterTest::leavesOurselvesOut()
{
    FakeProcesses processes;
    processes.add(10, 1);
    processes.add(11, 10);
    processes.add(12, 11);
    ProcessFilter everything(std::nullopt, ProcessTree({11}, processes.table()));
    QVERIFY(everything.accepts(10));
    QVERIFY(!everything.accepts(11));
    QVERIFY(!everything.accepts(12));
    QVERIFY(everything.accepts(0)); // a process that nobody knows is not us
    ProcessFilter ourTerminal(ProcessTree({10}, processes.table()), ProcessTree({11}, processes.table()));
    QVERIFY(ourTerminal.accepts(10));
    QVERIFY(!ourTerminal.accepts(12));
}

void ProcessFilterTest::endsOnALoop()
{
    FakeProcesses processes;
    processes.add(10, 11);
    processes.add(11, 10);
    processes.add(20, 1);
    ProcessFilter filter(ProcessTree({20}, processes.table()), ProcessTree({}, processes.table()));
    QVERIFY(!filter.accepts(10));
}

void ProcessFilterTest::findsAProcessByWhatItCallsItself_data()
{
    QTest::addColumn<int>("claimedId");
    QTest::addColumn<QString>("program");
    QTest::addColumn<int>("found"); // 0 for none
    QTest::newRow("outside of sandboxes") << 500 << u"browser"_s << 500;
    QTest::newRow("in a sandbox") << 3 << u"browser"_s << 700;
    QTest::newRow("in a sandbox in a sandbox") << 2 << u"calls"_s << 800;
    QTest::newRow("one of ours has that number") << 500 << u"calls"_s << 900;
    QTest::newRow("two in sandboxes have that number") << 4 << u"twin"_s << 0;
    QTest::newRow("another program") << 3 << u"editor"_s << 0;
    QTest::newRow("nobody") << 12345 << u"browser"_s << 0;
    QTest::newRow("program not told") << 3 << u""_s << 700;
}

void ProcessFilterTest::findsAProcessByWhatItCallsItself()
{
    QFETCH(int, claimedId);
    QFETCH(QString, program);
    QFETCH(int, found);
    FakeProcesses processes;
    processes.add(500, 1, 1, u"browser"_s);
    processes.add(700, 1, 1, u"browser"_s, u"700\t3"_s);
    processes.add(800, 1, 1, u"calls"_s, u"800\t40\t2"_s);
    processes.add(900, 1, 1, u"calls"_s, u"900\t500"_s);
    processes.add(1001, 1, 1, u"twin"_s, u"1001\t4"_s);
    processes.add(1002, 1, 1, u"twin"_s, u"1002\t4"_s);
    const auto process = processes.table().findByClaim(claimedId, program.toStdString());
    QCOMPARE(process.value_or(0), found);
}

void ProcessFilterTest::knowsTheProgramOfAProcess()
{
    FakeProcesses processes;
    processes.add(10, 1, 1, u"browser"_s);
    processes.add(11, 1, 1, u"browser (deleted)"_s); // updated while it runs
    QCOMPARE(processes.table().programName(10), "browser");
    QCOMPARE(processes.table().programName(11), "browser");
    QCOMPARE(processes.table().programName(12), "");
}

} // namespace quorvel

QTEST_APPLESS_MAIN(quorvel::ProcessFilterTest)
#include "ProcessFilterTest.moc"
