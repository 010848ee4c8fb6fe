#include "transcript/TranscriptStore.h"

#include "support/FakeClock.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace quorvel;
using namespace Qt::StringLiterals;
using Kind = TranscriptTurn::Kind;

class TranscriptStoreTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_shared<test::FakeClock>();
        m_store = std::make_unique<TranscriptStore>(m_clock);
    }

    void trimsWhatItAppends_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line"); // empty: nothing is appended
        QTest::newRow("plain") << u"Hello there"_s << u"Hello there"_s;
        QTest::newRow("spaces and a line break") << u"  Hello there \n"_s << u"Hello there"_s;
        QTest::newRow("inner white space stays") << u"a \t b\nc"_s << u"a \t b\nc"_s;
        QTest::newRow("every kind of white space")
            << u"\u00a0\u1680\u2000\u200a\u2028\u2029\u202f\u205f\u3000\u0085\v\f\rx\t"_s << u"x"_s;
        QTest::newRow("a zero-width space is no white space") << u"\u200bx"_s << u"\u200bx"_s;
        QTest::newRow("outside the basic plane") << u" \U0001f600 "_s << u"\U0001f600"_s;
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("blank") << u" \t\r\n\u2029"_s << QString();
    }

    void trimsWhatItAppends()
    {
        QFETCH(QString, text);
        QFETCH(QString, line);
        m_store->setPartialText(u" pending "_s);
        QSignalSpy inserted(m_store->turnsModel(), &QAbstractItemModel::rowsInserted);

        m_store->append(text, Kind::mock);

        QCOMPARE(m_store->turns().size(), line.isEmpty() ? 0U : 1U);
        QCOMPARE(inserted.count(), line.isEmpty() ? 0 : 1);
        if (!line.isEmpty()) {
            QCOMPARE(m_store->turns().front().text, line);
            QCOMPARE(m_store->turns().front().kind, Kind::mock);
            QCOMPARE(m_store->turns().front().createdAt, m_clock->now());
        }
        QCOMPARE(m_store->partialText(), u" pending "_s);
    }

    void keepsTheNewestTurnsRowByRow()
    {
        QAbstractItemModel* model = m_store->turnsModel();
        const QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (int number = 0; number < 200; ++number) {
            m_store->append(QString::number(number), Kind::final);
            m_clock->advance(std::chrono::milliseconds(1));
        }
        QSignalSpy removed(model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy inserted(model, &QAbstractItemModel::rowsInserted);
        QSignalSpy reset(model, &QAbstractItemModel::modelReset);

        m_store->append(u"200"_s, Kind::final);

        QCOMPARE(m_store->turns().size(), 200U);
        QCOMPARE(m_store->turns().front().text, u"1"_s);
        QCOMPARE(m_store->turns().back().text, u"200"_s);
        QVERIFY(m_store->turns().front().createdAt < m_store->turns().back().createdAt);
        QVERIFY(m_store->turns()[0].id != m_store->turns()[1].id);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first().at(1).toInt(), 0);
        QCOMPARE(removed.first().at(2).toInt(), 0);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(reset.count(), 0);
    }

    void offersItsRolesByName()
    {
        m_store->append(u"typed"_s, Kind::mock);
        QAbstractItemModel* model = m_store->turnsModel();
        const QModelIndex row = model->index(0, 0);
        QHash<QByteArray, QVariant> values;
        const QHash<int, QByteArray> names = model->roleNames();
        for (auto name = names.begin(); name != names.end(); ++name) {
            values.insert(name.value(), model->data(row, name.key()));
        }
        QCOMPARE(values.value("kind"), QVariant(u"Mock"_s));
        QCOMPARE(values.value("text"), QVariant(u"typed"_s));
        QVERIFY(!model->data(row, Qt::DisplayRole).isValid());
        QVERIFY(!model->data(row, Qt::UserRole + 99).isValid());
        QVERIFY(!model->data(model->index(1, 0), Qt::UserRole).isValid());
    }

    void clears()
    {
        m_store->append(u"a"_s, Kind::final);
        m_store->setPartialText(u"b"_s);
        bool turnsWereEmptyFirst = false;
        connect(m_store.get(), &TranscriptStore::partialTextChanged, this,
                [&] { turnsWereEmptyFirst = m_store->turns().empty(); });
        m_store->clear();
        QVERIFY(turnsWereEmptyFirst);
        QVERIFY(m_store->turns().empty());
        QCOMPARE(m_store->partialText(), QString());

        QSignalSpy removed(m_store->turnsModel(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy partial(m_store.get(), &TranscriptStore::partialTextChanged);
        m_store->clear();
        QCOMPARE(removed.count() + partial.count(), 0);
    }

    void comparesTurnsAndKinds()
    {
        m_store->append(u"same"_s, Kind::final);
        m_store->append(u"same"_s, Kind::final);
        QVERIFY(m_store->turns()[0] != m_store->turns()[1]);
        QCOMPARE(fromRawValue<Kind>(u"Final"), std::optional(Kind::final));
        QCOMPARE(fromRawValue<Kind>(u"final"), std::nullopt);
        QCOMPARE(fromRawValue<Kind>(u"FINAL"), std::nullopt);
    }

private:
    std::shared_ptr<test::FakeClock> m_clock;
    std::unique_ptr<TranscriptStore> m_store;
};

QTEST_GUILESS_MAIN(TranscriptStoreTest)
#include "TranscriptStoreTest.moc"
