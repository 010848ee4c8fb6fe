// Feeds hours of sound through a whole session of a server in this process, as fast as it is taken, with recognition
// left out, and reports resident memory on the way: it must not grow.
//
//     soak_session [HOURS]

#include "fixtures/TestServer.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

using namespace quorvel::localbackend;

namespace {

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            return std::atol(line.c_str() + 6);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const int hours = argc > 1 ? std::atoi(argv[1]) : 24;
    const TestServer server({.disableAuth = true});
    TestSocket socket(server.port());
    if (socket.open("/ws/realtime") != 101)
        return 1;
    socket.sendText(sessionStart());
    const std::string second(48'000, '\0');
    const auto start = std::chrono::steady_clock::now();
    std::thread reader([&] {
        while (!socket.next({"diagnostic.tick"}).empty()) {
        }
    });
    for (int hour = 0; hour <= hours; ++hour) {
        std::printf("%2d h: %ld kB resident\n", hour, residentKilobytes());
        for (int i = 0; i < 3600 && hour < hours; ++i)
            socket.sendBytes(second);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::printf("%d hours of sound in %.1f s\n", hours, time.count());
    socket.sendRaw(std::string("\x88\x80\0\0\0\0", 6));
    reader.join();
    return 0;
}
