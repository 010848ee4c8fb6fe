#include "capture/ShareableContentService.h"
#include "support/FakeCapture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

struct WindowRow
{
    std::optional<QString> title;
    std::optional<QString> appName;
    bool isOnScreen = true;
};

/// Lists the content through the service; windows are numbered from 1, displays as given.
Result<std::deque<CaptureSource>> sourcesOf(const std::vector<WindowRow>& rows, const std::vector<quint32>& displays)
{
    platform::ShareableContent content;
    for (const WindowRow& row : rows) {
        platform::ShareableWindow window;
        window.windowId = static_cast<std::uint32_t>(content.windows.size() + 1);
        window.title = row.title;
        if (row.appName) {
            window.owningApplication = platform::RunningApplication{.processId = 1, .applicationName = *row.appName};
        }
        window.isOnScreen = row.isOnScreen;
        content.windows.push_back(std::make_shared<platform::ShareableWindow>(window));
    }
    for (const quint32 number : displays) {
        content.displays.push_back(std::make_shared<platform::ShareableDisplay>(platform::ShareableDisplay{number}));
    }
    const auto provider = std::make_shared<test::FakeShareableContent>();
    provider->reading.setResult(content);
    ShareableContentService service(provider);
    return QCoro::waitFor(service.availableSources());
}

QStringList idsOf(const Result<std::deque<CaptureSource>>& sources)
{
    QStringList ids;
    for (const CaptureSource& source : sources.value()) {
        ids.append(source.id);
    }
    return ids;
}

} // namespace

class CaptureSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QLocale::setDefault(QLocale::c()); }
    void listsDisplaysAfterWindows();
    void listsOnlyNamedVisibleOwnedWindows();
    void ranksWindows_data();
    void ranksWindows();
    void recognisesBrowsersAndMeetings_data();
    void recognisesBrowsersAndMeetings();
    void describesSources_data();
    void describesSources();
    void passesThePlatformsFailureOn();
    void isIdentifiedByItsId();
    void kindsHaveExactTexts();
};

void CaptureSourceTest::listsDisplaysAfterWindows()
{
    const auto one = sourcesOf({}, {1});
    QCOMPARE(idsOf(one), QStringList{u"screen-1"_s});
    QCOMPARE(one->front().title, u"Entire Screen"_s);
    QCOMPARE(one->front().subtitle(), u"Entire screen"_s);
    QCOMPARE(one->front().display->displayId, 1U);
    QVERIFY(!one->front().window);

    const auto two = sourcesOf({{u"Notes"_s, u"Editor"_s}}, {4'000'000'000, 7});
    QCOMPARE(idsOf(two), QStringList({u"window-1"_s, u"screen-4000000000"_s, u"screen-7"_s}));
    QCOMPARE(two->at(1).title, u"Screen 1"_s);
    QCOMPARE(two->at(2).title, u"Screen 2"_s);
    QVERIFY(!two->at(1).isLikelyMeeting);
    QVERIFY(two->front().window && !two->front().display);

    QCOMPARE(idsOf(sourcesOf({}, {})), QStringList());
}

void CaptureSourceTest::listsOnlyNamedVisibleOwnedWindows()
{
    const auto sources = sourcesOf(
        {
            {std::nullopt, u"Editor"_s},
            {u"Nobody's"_s, std::nullopt},
            {u"Hidden"_s, u"Editor"_s, false},
            {u""_s, u"Editor"_s},
            {u"Untitled owner"_s, u""_s},
        },
        {});
    QCOMPARE(idsOf(sources), QStringList({u"window-4"_s, u"window-5"_s}));
    QCOMPARE(sources->front().displayName(), u"Editor"_s);
}

void CaptureSourceTest::ranksWindows_data()
{
    QTest::addColumn<QStringList>("windows"); // title/application
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QList<int>>("order");
    QTest::newRow("likely first, then browsers")
        << QStringList{u"a/Notes"_s, u"c/Brave"_s, u"A/zoom"_s, u"b/Chrome"_s} << u"C"_s << QList{4, 3, 2, 1};
    QTest::newRow("equal but for case keeps the platform's order")
        << QStringList{u"alpha/x"_s, u"Alpha/x"_s, u"ALPHA/x"_s} << u"C"_s << QList{1, 2, 3};
    QTest::newRow("equal but for case, in a language")
        << QStringList{u"beta/x"_s, u"alpha/x"_s, u"Alpha/x"_s} << u"en_US"_s << QList{2, 3, 1};
    QTest::newRow("by title, letter case aside")
        << QStringList{u"b/x"_s, u"C/x"_s, u"A/x"_s} << u"C"_s << QList{3, 1, 2};
    QTest::newRow("without a title by application")
        << QStringList{u"b/x"_s, u"/A"_s, u"/c"_s} << u"C"_s << QList{2, 1, 3};
    QTest::newRow("German order") << QStringList{u"Zebra/x"_s, u"Übung/x"_s, u"Uhr/x"_s} << u"de_DE"_s
                                  << QList{2, 3, 1};
    QTest::newRow("Swedish order") << QStringList{u"Ärende/x"_s, u"Zebra/x"_s, u"Ask/x"_s} << u"sv_SE"_s
                                   << QList{3, 2, 1};
}

void CaptureSourceTest::ranksWindows()
{
    QFETCH(QStringList, windows);
    QFETCH(QString, locale);
    QFETCH(QList<int>, order);
    QLocale::setDefault(QLocale(locale));
    std::vector<WindowRow> rows;
    for (const QString& window : windows) {
        rows.push_back({window.section(u'/', 0, 0), window.section(u'/', 1)});
    }
    QStringList expected;
    for (const int number : order) {
        expected.append(u"window-%1"_s.arg(number));
    }
    QCOMPARE(idsOf(sourcesOf(rows, {})), expected);
}

void CaptureSourceTest::recognisesBrowsersAndMeetings_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("appName");
    QTest::addColumn<bool>("isBrowser");
    QTest::addColumn<bool>("isLikelyMeeting");
    const auto row = [](const char* title, const char* appName, bool isBrowser, bool isLikelyMeeting) {
        QTest::addRow("%s in %s", title, appName)
            << QString::fromUtf8(title) << QString::fromUtf8(appName) << isBrowser << isLikelyMeeting;
    };
    row("Meet - Weekly sync", "Google Chrome", true, true);
    row("Docs", "Firefox", true, false);
    row("MEETING notes", "Firefox", true, true);
    row("Call", "zoom.us", false, true);
    row("research", "Terminal", false, true);
    row("Daily", "Microsoft Teams", false, true);
    row("Webex", "", false, true);
    row("general", "Slack", false, true);
    row("", "Arc", true, true);
    row("", "Safari", true, true);
    row("", "Microsoft Edge", true, true);
    row("", "BRAVE", true, false);
    row("", "Opera", true, false);
    row("notes", "Editor", false, false);
    row("ar", "c", false, false); // the space between title and application keeps them apart
}

void CaptureSourceTest::recognisesBrowsersAndMeetings()
{
    QFETCH(QString, title);
    QFETCH(QString, appName);
    QFETCH(bool, isBrowser);
    QFETCH(bool, isLikelyMeeting);
    const auto sources = sourcesOf({{title, appName}}, {});
    QCOMPARE(sources->front().kind, isBrowser ? CaptureSourceKind::browser : CaptureSourceKind::window);
    QCOMPARE(sources->front().isLikelyMeeting, isLikelyMeeting);
}

void CaptureSourceTest::describesSources_data()
{
    QTest::addColumn<CaptureSourceKind>("kind");
    QTest::addColumn<QString>("appName");
    QTest::addColumn<QString>("subtitle");
    QTest::newRow("browser") << CaptureSourceKind::browser << u"Chrome"_s << u"Chrome"_s;
    QTest::newRow("nameless browser") << CaptureSourceKind::browser << QString() << u"Browser tab or window"_s;
    QTest::newRow("window") << CaptureSourceKind::window << u"Notes"_s << u"Notes"_s;
    QTest::newRow("nameless window") << CaptureSourceKind::window << QString() << u"Application window"_s;
    QTest::newRow("screen") << CaptureSourceKind::screen << QString() << u"Entire screen"_s;
}

void CaptureSourceTest::describesSources()
{
    QFETCH(CaptureSourceKind, kind);
    QFETCH(QString, appName);
    QFETCH(QString, subtitle);
    CaptureSource source;
    source.kind = kind;
    source.applicationName = appName;
    QCOMPARE(source.subtitle(), subtitle);
}

void CaptureSourceTest::passesThePlatformsFailureOn()
{
    const auto provider = std::make_shared<test::FakeShareableContent>();
    provider->reading.failWith(u"No windows today."_s);
    ShareableContentService service(provider);
    const auto sources = QCoro::waitFor(service.availableSources());
    QVERIFY(!sources.has_value());
    QCOMPARE(sources.error(), test::failure(u"No windows today."_s));
    QCOMPARE(provider->lastArguments, std::pair(false, true));
}

void CaptureSourceTest::isIdentifiedByItsId()
{
    CaptureSource first;
    first.id = u"window-1"_s;
    CaptureSource second = first;
    second.title = u"renamed"_s;
    second.kind = CaptureSourceKind::browser;
    CaptureSource third = first;
    third.id = u"screen-1"_s;
    QCOMPARE(first, second);
    QVERIFY(first != third);
    const QSet<CaptureSource> distinct{first, second, third};
    QCOMPARE(distinct.size(), 2);
}

void CaptureSourceTest::kindsHaveExactTexts()
{
    QStringList texts;
    for (const CaptureSourceKind kind : allCases<CaptureSourceKind>()) {
        texts.append(rawValue(kind));
        QCOMPARE(fromRawValue<CaptureSourceKind>(texts.last()), kind);
    }
    QCOMPARE(texts, QStringList({u"Browser"_s, u"Window"_s, u"Screen"_s}));
    QVERIFY(!fromRawValue<CaptureSourceKind>(u"browser"));
}

} // namespace quorvel

QTEST_GUILESS_MAIN(quorvel::CaptureSourceTest)
#include "CaptureSourceTest.moc"
