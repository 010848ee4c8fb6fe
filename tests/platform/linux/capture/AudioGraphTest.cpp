#include "platform/linux/capture/AudioGraph.h"

#include "platform/linux/capture/MonoFrames.h"

#include <QTest>

#include <vector>

namespace quorvel {

namespace {

using platform::AudioGraph;

constexpr std::uint32_t ourNode = 1;
constexpr std::uint32_t ourLeft = 2;
constexpr std::uint32_t ourRight = 3;
constexpr std::uint32_t client = 10;
constexpr std::uint32_t player = 20;
constexpr std::uint32_t firstPort = 100;

AudioGraph graphWithOurPorts()
{
    AudioGraph graph;
    graph.setPort(ourLeft, {.nodeId = ourNode, .isOutput = false, .index = 0, .channel = "FL"});
    graph.setPort(ourRight, {.nodeId = ourNode, .isOutput = false, .index = 1, .channel = "FR"});
    return graph;
}

void addPorts(AudioGraph& graph, const std::vector<const char*>& channels)
{
    for (std::uint32_t index = 0; index < channels.size(); ++index) {
        graph.setPort(firstPort + index,
                      {.nodeId = player, .isOutput = true, .index = index, .channel = channels[index]});
    }
}

/// Pairs of output and input port.
QList<QPair<quint32, quint32>> linksOf(const AudioGraph& graph)
{
    QList<QPair<quint32, quint32>> links;
    for (const AudioGraph::Link& link : graph.linksInto(ourNode)) {
        links.append({link.outputPort, link.inputPort});
    }
    return links;
}

} // namespace

class AudioGraphTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linksChannels_data();
    void linksChannels();
    void linksOnlyWhatIsCaptured();
    void forgetsWhatIsRemovedOrReplaced();
    void mixesAndCutsIntoWholeBuffers();
};

void AudioGraphTest::linksChannels_data()
{
    QTest::addColumn<std::vector<const char*>>("channels");
    QTest::addColumn<QList<QPair<quint32, quint32>>>("links");
    using Channels = std::vector<const char*>;
    using Links = QList<QPair<quint32, quint32>>;
    const Links firstTwo{{firstPort, ourLeft}, {firstPort + 1, ourRight}};
    QTest::newRow("no port") << Channels{} << Links{};
    QTest::newRow("mono on both") << Channels{"MONO"} << Links{{firstPort, ourLeft}, {firstPort, ourRight}};
    QTest::newRow("stereo") << Channels{"FL", "FR"} << firstTwo;
    QTest::newRow("only the fronts of 5.1") << Channels{"FL", "FR", "RL", "RR", "FC", "LFE"} << firstTwo;
    QTest::newRow("in any order") << Channels{"FC", "FR", "FL"}
                                  << Links{{firstPort + 2, ourLeft}, {firstPort + 1, ourRight}};
    QTest::newRow("without positions") << Channels{"AUX0", "AUX1", "AUX2"} << firstTwo;
    QTest::newRow("without any names") << Channels{"", ""} << firstTwo;
}

void AudioGraphTest::linksChannels()
{
    QFETCH(std::vector<const char*>, channels);
    using Links = QList<QPair<quint32, quint32>>;
    QFETCH(Links, links);
    AudioGraph graph = graphWithOurPorts();
    graph.setClient(client, true);
    graph.setPlayer(player, client);
    graph.setPlayerInfo(player, static_cast<std::uint32_t>(channels.size()), false);
    addPorts(graph, channels);
    QCOMPARE(linksOf(graph), links);
}

void AudioGraphTest::linksOnlyWhatIsCaptured()
{
    AudioGraph graph = graphWithOurPorts();
    graph.setPlayer(player, client);
    graph.setPlayerInfo(player, 2, false);
    addPorts(graph, {"FL", "FR"});
    QVERIFY2(linksOf(graph).isEmpty(), "before the client is known");
    graph.setClient(client, false);
    QVERIFY2(linksOf(graph).isEmpty(), "another application's");
    graph.setClient(client, true);
    QCOMPARE(linksOf(graph).size(), 2);
    graph.setPlayerInfo(player, 2, true);
    QVERIFY2(linksOf(graph).isEmpty(), "passes on what is heard already");
    graph.setPlayerInfo(player, 6, false);
    QVERIFY2(linksOf(graph).isEmpty(), "before all its ports are known: one of them would pass for mono");
}

void AudioGraphTest::forgetsWhatIsRemovedOrReplaced()
{
    AudioGraph graph = graphWithOurPorts();
    graph.setClient(client, true);
    graph.setPlayer(player, client);
    graph.setPlayerInfo(player, 1, false);
    addPorts(graph, {"MONO"});
    for (const std::uint32_t removed : {client, player, firstPort, ourLeft}) {
        AudioGraph less = graph;
        less.remove(removed);
        QVERIFY(linksOf(less).isEmpty());
    }
    graph.setPlayer(player, client + 1); // the same number for somebody else's player
    QVERIFY(linksOf(graph).isEmpty());
}

void AudioGraphTest::mixesAndCutsIntoWholeBuffers()
{
    platform::MonoFrames frames;
    std::vector<float> delivered;
    int buffers = 0;
    const auto deliver = [&](std::span<const float> buffer) {
        QCOMPARE(buffer.size(), std::size_t{480});
        delivered.insert(delivered.end(), buffer.begin(), buffer.end());
        ++buffers;
    };
    // Pieces of any size, as the server makes them: 1,000 frames in all.
    std::vector<float> expected;
    std::vector<float> piece;
    int number = 0;
    for (const int size : {1, 256, 0, 255, 479, 9}) {
        piece.clear();
        for (int frame = 0; frame < size; ++frame, ++number) {
            piece.push_back(static_cast<float>(number));
            piece.push_back(static_cast<float>(-2 * number));
            expected.push_back(static_cast<float>(-number) / 2);
        }
        frames.push(piece, deliver);
    }
    QCOMPARE(buffers, 2);
    expected.resize(960);
    QCOMPARE(delivered, expected);
}

} // namespace quorvel

QTEST_APPLESS_MAIN(quorvel::AudioGraphTest)
#include "AudioGraphTest.moc"
