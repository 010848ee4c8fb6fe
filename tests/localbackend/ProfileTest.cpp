#include "profile/ChildProcess.h"
#include "profile/Digest.h"
#include "profile/Extractors.h"
#include "profile/FileProfileExtractor.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>

using namespace quorvel::localbackend;

namespace {

constexpr std::size_t mebibyte = 1024UL * 1024;
constexpr std::string_view docxType = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";

/// A ZIP archive with the given entries.
std::string zipped(const std::vector<std::pair<std::string, std::string>>& entries)
{
    std::string bytes(64 * mebibyte, '\0');
    std::size_t used = 0;
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    for (const auto& [name, content] : entries) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, name.c_str());
        archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_write_header(writer, entry);
        archive_write_data(writer, content.data(), content.size());
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

std::string document(std::string_view body)
{
    return R"(<?xml version="1.0"?><w:document xmlns:w="w"><w:body>)" + std::string(body) + "</w:body></w:document>";
}

std::string docx(std::string_view body)
{
    return zipped({{"[Content_Types].xml", "<Types/>"}, {"word/document.xml", document(body)}});
}

/// A PDF of one page with the given text; the cross-reference table is left to the reader's repair.
std::string pdf(std::string_view text)
{
    const std::string stream = "BT /F1 12 Tf 72 720 Td (" + std::string(text) + ") Tj ET";
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents 4 0 R/Resources<</Font<</F1 5 0 "
           "R>>>>>>endobj\n"
           "4 0 obj<</Length " +
           std::to_string(stream.size()) + ">>stream\n" + stream +
           "\nendstream endobj\n5 0 obj<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>endobj\ntrailer<</Root 1 0 "
           "R>>\n%%EOF\n";
}

QStringList temporaryDirectories()
{
    return QDir::temp().entryList({QStringLiteral("quorvel-??????")}, QDir::Dirs);
}

} // namespace

class ProfileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plainTextIsDecoded_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("UTF-8") << QByteArray("caf\xC3\xA9") << QByteArray("caf\xC3\xA9");
        QTest::newRow("UTF-8 with a mark") << QByteArray("\xEF\xBB\xBF"
                                                         "a")
                                           << QByteArray("a");
        QTest::newRow("UTF-16, little-endian") << QByteArray("\xFF\xFE"
                                                             "a\0\xE9\0\x3D\xD8\x00\xDE",
                                                             10)
                                               << QByteArray("a\xC3\xA9\xF0\x9F\x98\x80");
        QTest::newRow("UTF-16, big-endian") << QByteArray("\xFE\xFF\0a", 4) << QByteArray("a");
        QTest::newRow("lone surrogate") << QByteArray("\xFF\xFE\x3D\xD8"
                                                      "a\0",
                                                      6)
                                        << QByteArray("\xEF\xBF\xBD"
                                                      "a");
        QTest::newRow("Windows-1252") << QByteArray("\x93"
                                                    "caf\xE9\x94")
                                      << QByteArray("\xE2\x80\x9C"
                                                    "caf\xC3\xA9\xE2\x80\x9D");
        QTest::newRow("undefined in Windows-1252") << QByteArray("a\x81") << QByteArray();
        QTest::newRow("NUL bytes") << QByteArray("a\0b", 3) << QByteArray();
        QTest::newRow("binary") << QByteArray("\x7F"
                                              "ELF\x02\x01\x01")
                                << QByteArray();
    }
    void plainTextIsDecoded()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, text);
        const auto result = textOfPlain(bytes.toStdString());
        QCOMPARE(result.has_value(), !text.isNull());
        QCOMPARE(QByteArray::fromStdString(result.value_or("")), text.isNull() ? QByteArray("") : text);
    }

    void wordDocumentIsRead()
    {
        const auto text =
            textOfDocx(docx("<w:p><w:r><w:t>One</w:t><w:tab/><w:t xml:space=\"preserve\"> two</w:t></w:r></w:p>"
                            "<w:p><w:r><w:t>R&amp;D &lt;x&gt;</w:t></w:r></w:p>"));
        QCOMPARE(text.value(), std::string("\nOne  two\nR&D <x>"));
    }

    void hostileWordDocumentsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char* name, const std::string& bytes) {
            QTest::newRow(name) << QByteArray::fromStdString(bytes);
        };
        row("no archive", "PK\x03\x04 nothing more");
        row("empty", "");
        row("archive cut short", docx("<w:p/>").substr(0, 90));
        row("no main part", zipped({{"word/other.xml", "<x/>"}}));
        row("path traversal instead of the main part", zipped({{"../word/document.xml", document("<w:t>x</w:t>")}}));
        row("expands without end", zipped({{"word/document.xml", std::string(40 * mebibyte, ' ')}}));
        row("endless other part", zipped({{"word/media.bin", std::string(40 * mebibyte, ' ')}}));
        row("too many parts", zipped(std::vector<std::pair<std::string, std::string>>(3000, {"x", ""})));
        row("broken XML", zipped({{"word/document.xml", "<w:document><w:p></w:document>"}}));
        row("entities",
            zipped({{"word/document.xml", R"(<!DOCTYPE a [<!ENTITY b "ha"><!ENTITY c "&b;&b;">]><a>&c;</a>)"}}));
        std::string deep;
        for (int i = 0; i < 5000; ++i)
            deep += "<w:p>";
        for (int i = 0; i < 5000; ++i)
            deep += "</w:p>";
        row("deep nesting", docx(deep));
        row("no text", docx("<w:p/>"));
    }
    void hostileWordDocumentsAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QElapsedTimer timer;
        timer.start();
        const auto profile = FileProfileExtractor().extract("cv.docx", docxType, bytes.toStdString());
        QVERIFY(!profile);
        QVERIFY(profile.error().fault == Fault::Unprocessable);
        QVERIFY(profile.error().sentence.ends_with('.'));
        QVERIFY2(timer.elapsed() < 5000, "a limit that hostile files must not pass, not a measure of speed");
    }

    void pdfIsReadAndNothingIsLeft()
    {
        const auto before = temporaryDirectories();
        const auto profile =
            FileProfileExtractor().extract("CV.PDF", "application/octet-stream", pdf("Led the migration to Kafka"));
        QVERIFY(profile);
        QCOMPARE(profile->resumeSummary, std::string("Led the migration to Kafka"));
        QCOMPARE(profile->characterCount, 26);
        QCOMPARE(temporaryDirectories(), before);
    }

    void hostilePdfIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("no PDF") << QByteArray("hello");
        QTest::newRow("header alone") << QByteArray("%PDF-1.4\n");
        QTest::newRow("no text") << QByteArray::fromStdString(pdf(""));
        QTest::newRow("noise after the header") << QByteArray("%PDF-1.7\n") + QByteArray(100'000, '\x91');
    }
    void hostilePdfIsRefused()
    {
        QFETCH(QByteArray, bytes);
        const auto before = temporaryDirectories();
        const auto profile = FileProfileExtractor().extract("cv.pdf", "application/pdf", bytes.toStdString());
        QVERIFY(!profile);
        QVERIFY(profile.error().fault == Fault::Unprocessable);
        QCOMPARE(temporaryDirectories(), before);
    }

    void childIsLimited_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<bool>("timedOut");
        QTest::addColumn<bool>("outputCut");
        QTest::newRow("ends well") << QByteArray("echo ok") << 0 << false << false;
        QTest::newRow("fails") << QByteArray("exit 3") << 3 << false << false;
        QTest::newRow("sleeps") << QByteArray("exec sleep 60") << -1 << true << false;
        QTest::newRow("hides its output and sleeps") << QByteArray("exec >&-; sleep 60") << -1 << true << false;
        QTest::newRow("leaves a child behind") << QByteArray("sleep 60 & exit 0") << 0 << true << false;
        QTest::newRow("loops") << QByteArray("while :; do :; done") << -1 << false << false;
        QTest::newRow("writes without end") << QByteArray("exec yes") << -1 << false << true;
        QTest::newRow("fills the disk") << QByteArray("exec dd if=/dev/zero of=big bs=65536 count=1024") << -1 << false
                                        << false;
    }
    void childIsLimited()
    {
        QFETCH(QByteArray, script);
        QFETCH(int, exitCode);
        QFETCH(bool, timedOut);
        QFETCH(bool, outputCut);
        const QTemporaryDir directory;
        // Only what is meant to run into the wall-clock limit may meet it, however busy the machine is.
        const ChildLimits limits{.wallClock = timedOut ? std::chrono::milliseconds{1500} : std::chrono::minutes{1},
                                 .processorSeconds = 1,
                                 .fileBytes = mebibyte,
                                 .outputBytes = 100'000};
        const auto outcome = runChild({"/bin/sh", "-c", script.toStdString()}, directory.path().toStdString(), limits);
        QVERIFY(outcome);
        QCOMPARE(outcome->exitCode, exitCode);
        QCOMPARE(outcome->timedOut, timedOut);
        QCOMPARE(outcome->outputCut, outputCut);
        QVERIFY(QFileInfo(directory.filePath(QStringLiteral("big"))).size() <= static_cast<qint64>(mebibyte));
    }

    void missingProgramIsReported() { QVERIFY(!runChild({"/nonexistent"}, "/", {})); }

    void otherKindsAreNotTaken()
    {
        for (const auto& [name, type] : {std::pair("a.doc", "application/msword"), std::pair("a.pdf", "image/png"),
                                         std::pair("notes.md", "application/octet-stream")}) {
            const auto profile = FileProfileExtractor().extract(name, type, "text");
            QVERIFY(profile.error().fault == Fault::Unsupported);
        }
    }

    void summaryKeepsWhatIsToBeSaid()
    {
        const auto summary = summaryOf("Jane Doe\njane@example.org\n+44 20 7946 0000\nEXPERIENCE\n"
                                       "Senior Engineer at Acme, 2019 - 2023\n"
                                       "- Led the migration of forty services to another data centre\n"
                                       "  without any outage\n- Cut costs by 30%\nReferences\n3\n");
        QCOMPARE(summary,
                 std::string("Jane Doe\nSenior Engineer at Acme, 2019 - 2023\n"
                             "- Led the migration of forty services to another data centre without any outage\n"
                             "- Cut costs by 30%"));
        QVERIFY(summaryOf(std::string(100'000, 'x')).size() <= 400);
    }

    void keyTermsAreNamesOfTools()
    {
        const auto terms = keytermsOf("Skills: C++, Machine Learning, PostgreSQL\n"
                                      "Built services on PostgreSQL and k8s at Acme. The team used Acme tools.\n"
                                      "jane@Example.org\nWorked in March");
        QCOMPARE(terms.front(), std::string("PostgreSQL"));
        for (const auto* const expected : {"C++", "Machine Learning", "k8s", "Acme"})
            QVERIFY2(std::ranges::find(terms, expected) != terms.end(), expected);
        for (const auto* const unexpected : {"March", "The", "jane@Example.org", "Skills"})
            QVERIFY2(std::ranges::find(terms, unexpected) == terms.end(), unexpected);
    }
};

QTEST_APPLESS_MAIN(ProfileTest)
#include "ProfileTest.moc"
