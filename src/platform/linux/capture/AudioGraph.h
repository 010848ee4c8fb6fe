#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::platform {

/// What is known of the audio server's clients, nodes and ports, by the server's global numbers, and which links our
/// input needs. The server uses a number anew at once: what is set replaces what had the number before.
class AudioGraph
{
public:
    struct Port
    {
        std::uint32_t nodeId = 0;
        bool isOutput = false;
        std::uint32_t index = 0; ///< among the ports of its node and direction
        std::string channel;     ///< "FL", "MONO", ...
    };

    struct Link
    {
        std::uint32_t outputNode = 0;
        std::uint32_t outputPort = 0;
        std::uint32_t inputNode = 0;
        std::uint32_t inputPort = 0;

        friend auto operator<=>(const Link&, const Link&) = default;
    };

    /// A client's sound is captured or not; until this is said, it is not.
    void setClient(std::uint32_t id, bool isCaptured);
    /// A node that plays sound, of this client.
    void setPlayer(std::uint32_t id, std::uint32_t clientId);
    /// A player is linked when all its ports are known, and only if it plays sound of its own: one that passes on
    /// another node's sound would double it.
    void setPlayerInfo(std::uint32_t id, std::uint32_t outputPortCount, bool passesSoundOn);
    void setPort(std::uint32_t id, Port port);
    void remove(std::uint32_t id);

    /// The links into the ports "FL" and "FR" of our node. A player with one port is heard on both, of any other player
    /// only front left and front right, or its first two ports when it names neither: summing all channels would clip.
    [[nodiscard]] std::vector<Link> linksInto(std::uint32_t ourNode) const;

private:
    struct Player
    {
        std::uint32_t clientId = 0;
        std::uint32_t outputPortCount = 0;
        bool passesSoundOn = false;
    };

    /// By their index in their node.
    using Ports = std::map<std::uint32_t, std::uint32_t>;

    struct Stereo
    {
        std::optional<std::uint32_t> left;
        std::optional<std::uint32_t> right;
    };

    [[nodiscard]] Ports portsOf(std::uint32_t nodeId, bool areOutputs) const;
    [[nodiscard]] Stereo frontsOf(const Ports& ports) const;

    std::map<std::uint32_t, bool> m_clients;
    std::map<std::uint32_t, Player> m_players;
    std::map<std::uint32_t, Port> m_ports;
};

} // namespace quorvel::platform
