#include "capture/PlainConversion.h"
#include "capture/SampleKernels.h"

#include <QTest>

#include <bit>
#include <cstring>
#include <vector>

namespace quorvel {

/// Compares every kernel that this processor can run with the plain rule, for all 2^32 floats.
class EveryFloatTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFloatEqualsThePlainRule();
};

void EveryFloatTest::everyFloatEqualsThePlainRule()
{
    constexpr std::uint64_t all = std::uint64_t{1} << 32U;
    constexpr std::size_t block = 1U << 16U;
    std::vector<float> samples(block);
    std::vector<std::byte> expected(2 * block);
    std::vector<std::byte> converted(2 * block);
    std::uint64_t compared = 0;
    for (std::uint64_t first = 0; first < all; first += block) {
        for (std::size_t index = 0; index < block; ++index) {
            samples[index] = std::bit_cast<float>(static_cast<std::uint32_t>(first + index));
            const auto value = static_cast<std::uint16_t>(test::plainlyConverted(samples[index]));
            expected[2 * index] = static_cast<std::byte>(value & 0xFFU);
            expected[2 * index + 1] = static_cast<std::byte>(value >> 8U);
        }
        for (const SampleKernels& kernels : availableSampleKernels()) {
            kernels.floatToPcm16(std::as_bytes(std::span(samples)).data(), block, converted.data());
            QVERIFY2(converted == expected, kernels.name);
        }
        compared += block;
    }
    qInfo("%llu floats compared with each of %zu kernels", static_cast<unsigned long long>(compared),
          availableSampleKernels().size());
    QCOMPARE(compared, all);
}

} // namespace quorvel

QTEST_APPLESS_MAIN(quorvel::EveryFloatTest)
#include "EveryFloatTest.moc"
