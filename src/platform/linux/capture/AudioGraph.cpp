#include "platform/linux/capture/AudioGraph.h"

#include <iterator>
#include <utility>

namespace quorvel::platform {

void AudioGraph::setClient(std::uint32_t id, bool isCaptured)
{
    m_clients.insert_or_assign(id, isCaptured);
}

void AudioGraph::setPlayer(std::uint32_t id, std::uint32_t clientId)
{
    m_players.insert_or_assign(id, Player{.clientId = clientId, .outputPortCount = 0, .passesSoundOn = false});
}

void AudioGraph::setPlayerInfo(std::uint32_t id, std::uint32_t outputPortCount, bool passesSoundOn)
{
    if (const auto player = m_players.find(id); player != m_players.end()) {
        player->second.outputPortCount = outputPortCount;
        player->second.passesSoundOn = passesSoundOn;
    }
}

void AudioGraph::setPort(std::uint32_t id, Port port)
{
    m_ports.insert_or_assign(id, std::move(port));
}

void AudioGraph::remove(std::uint32_t id)
{
    m_clients.erase(id);
    m_players.erase(id);
    m_ports.erase(id);
}

std::vector<AudioGraph::Link> AudioGraph::linksInto(std::uint32_t ourNode) const
{
    const Stereo inputs = frontsOf(portsOf(ourNode, false));
    if (!inputs.left || !inputs.right) {
        return {};
    }
    std::vector<Link> links;
    for (const auto& [id, player] : m_players) {
        const auto client = m_clients.find(player.clientId);
        const bool isCaptured = client != m_clients.end() && client->second;
        const Ports ports = portsOf(id, true);
        if (!isCaptured || player.passesSoundOn || ports.empty() || ports.size() != player.outputPortCount) {
            continue;
        }
        Stereo outputs = frontsOf(ports);
        if (ports.size() == 1) {
            outputs = {.left = ports.begin()->second, .right = ports.begin()->second};
        } else if (!outputs.left && !outputs.right) {
            outputs = {.left = ports.begin()->second, .right = std::next(ports.begin())->second};
        }
        const auto add = [&links, node = id, ourNode](std::optional<std::uint32_t> output, std::uint32_t input) {
            if (output) {
                links.push_back({.outputNode = node, .outputPort = *output, .inputNode = ourNode, .inputPort = input});
            }
        };
        add(outputs.left, *inputs.left);
        add(outputs.right, *inputs.right);
    }
    return links;
}

AudioGraph::Ports AudioGraph::portsOf(std::uint32_t nodeId, bool areOutputs) const
{
    Ports ports;
    for (const auto& [id, port] : m_ports) {
        if (port.nodeId == nodeId && port.isOutput == areOutputs) {
            ports.insert_or_assign(port.index, id);
        }
    }
    return ports;
}

AudioGraph::Stereo AudioGraph::frontsOf(const Ports& ports) const
{
    Stereo fronts;
    for (const auto& [index, id] : ports) {
        const std::string& channel = m_ports.at(id).channel;
        if (channel == "FL") {
            fronts.left = id;
        } else if (channel == "FR") {
            fronts.right = id;
        }
    }
    return fronts;
}

} // namespace quorvel::platform
