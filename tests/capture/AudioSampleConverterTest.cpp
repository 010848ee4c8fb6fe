#include "capture/AudioSampleConverter.h"

#include "capture/PlainConversion.h"
#include "capture/SampleKernels.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <span>

using namespace Qt::StringLiterals;
using quorvel::platform::AudioSampleBuffer;
using quorvel::platform::AudioStreamDescription;

namespace quorvel {

namespace {

constexpr AudioStreamDescription floats{.bitsPerChannel = 32, .formatFlags = AudioStreamDescription::isFloat};

std::span<const std::byte> bytesOf(const QByteArray& bytes)
{
    return std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

QByteArray littleEndian(const std::vector<std::int16_t>& samples)
{
    QByteArray bytes;
    for (const std::int16_t sample : samples) {
        bytes.append(static_cast<char>(sample & 0xFF));
        bytes.append(static_cast<char>(sample >> 8));
    }
    return bytes;
}

} // namespace

class AudioSampleConverterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertsFloats_data();
    void convertsFloats();
    void passesOtherLayoutsThrough_data();
    void passesOtherLayoutsThrough();
    void refusesWhatCannotBeRead_data();
    void refusesWhatCannotBeRead();
    void floatBytesBelowOneSampleGiveAnEmptyChunk();
    void measuresLoudness_data();
    void measuresLoudness();
    void everyKernelEqualsThePlainRule();
};

void AudioSampleConverterTest::convertsFloats_data()
{
    QTest::addColumn<float>("sample");
    QTest::addColumn<QByteArray>("bytes");
    constexpr float infinity = std::numeric_limits<float>::infinity();
    QTest::newRow("full scale") << 1.0F << "\xFF\x7F"_ba;
    QTest::newRow("above full scale") << 1.5F << "\xFF\x7F"_ba;
    QTest::newRow("infinity") << infinity << "\xFF\x7F"_ba;
    QTest::newRow("negative full scale") << -1.0F << "\x01\x80"_ba;
    QTest::newRow("below negative full scale") << -1.5F << "\x01\x80"_ba;
    QTest::newRow("negative infinity") << -infinity << "\x01\x80"_ba;
    QTest::newRow("zero") << 0.0F << QByteArray(2, '\0');
    QTest::newRow("not a number") << std::numeric_limits<float>::quiet_NaN() << "\xFF\x7F"_ba;
    QTest::newRow("negative not a number") << -std::numeric_limits<float>::quiet_NaN() << "\xFF\x7F"_ba;
    QTest::newRow("half is truncated") << 0.5F << littleEndian({16383});
    QTest::newRow("negative half is truncated") << -0.5F << littleEndian({-16383});
    QTest::newRow("quarter is not rounded") << 0.25F << littleEndian({8191});
    QTest::newRow("negative quarter is not rounded") << -0.25F << littleEndian({-8191});
    QTest::newRow("last below full scale") << std::nextafter(1.0F, 0.0F) << littleEndian({32766});
}

void AudioSampleConverterTest::convertsFloats()
{
    QFETCH(float, sample);
    QFETCH(QByteArray, bytes);
    // 1,024 samples go through the vector loop, one goes through its remainder.
    for (const int count : {1, 1024}) {
        const std::vector<float> samples(static_cast<std::size_t>(count), sample);
        const AudioSampleBuffer buffer{
            .isValid = true, .description = floats, .data = std::as_bytes(std::span(samples))};
        QCOMPARE(AudioSampleConverter::pcm16Mono24k(buffer), bytes.repeated(count));
    }
}

void AudioSampleConverterTest::passesOtherLayoutsThrough_data()
{
    QTest::addColumn<quint32>("bitsPerChannel");
    QTest::addColumn<quint32>("formatFlags");
    QTest::newRow("16-bit integers") << 16U << 4U;
    QTest::newRow("32-bit integers") << 32U << 4U;
    QTest::newRow("64-bit floats") << 64U << 1U;
}

void AudioSampleConverterTest::passesOtherLayoutsThrough()
{
    QFETCH(quint32, bitsPerChannel);
    QFETCH(quint32, formatFlags);
    const QByteArray bytes = "any old bytes"_ba;
    const AudioSampleBuffer buffer{
        .isValid = true,
        .description = AudioStreamDescription{.bitsPerChannel = bitsPerChannel, .formatFlags = formatFlags},
        .data = bytesOf(bytes)};
    QCOMPARE(AudioSampleConverter::pcm16Mono24k(buffer), bytes);
}

void AudioSampleConverterTest::refusesWhatCannotBeRead_data()
{
    QTest::addColumn<bool>("hasDescription");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<bool>("hasPointer");
    QTest::newRow("no description") << false << true << true;
    QTest::newRow("not in one buffer") << true << false << false;
    QTest::newRow("no pointer") << true << true << false;
    QTest::newRow("no bytes") << true << true << true;
}

void AudioSampleConverterTest::refusesWhatCannotBeRead()
{
    QFETCH(bool, hasDescription);
    QFETCH(bool, hasData);
    QFETCH(bool, hasPointer);
    const QByteArray bytes(8, '\0');
    AudioSampleBuffer buffer;
    buffer.isValid = true;
    if (hasDescription) {
        buffer.description = floats;
    }
    if (hasData) {
        buffer.data = hasPointer ? bytesOf(bytes).first(hasDescription ? 0 : 8) : std::span<const std::byte>();
    }
    QVERIFY(!AudioSampleConverter::pcm16Mono24k(buffer).has_value());
}

void AudioSampleConverterTest::floatBytesBelowOneSampleGiveAnEmptyChunk()
{
    const QByteArray bytes(2, '\x55');
    const AudioSampleBuffer buffer{.isValid = true, .description = floats, .data = bytesOf(bytes)};
    const std::optional<QByteArray> chunk = AudioSampleConverter::pcm16Mono24k(buffer);
    QCOMPARE(chunk.value_or("absent"_ba), QByteArray());
}

void AudioSampleConverterTest::measuresLoudness_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<double>("level");
    QTest::newRow("empty") << QByteArray() << 0.0;
    QTest::newRow("one byte") << "\x7F"_ba << 0.0;
    QTest::newRow("full scale") << littleEndian({32767}) << 1.0;
    QTest::newRow("odd byte ignored") << littleEndian({32767}) + '\x12' << 1.0;
    QTest::newRow("lowest value") << littleEndian({-32768}) << 32768.0 / 32767.0;
    QTest::newRow("silence") << QByteArray(960, '\0') << 0.0;
    QTest::newRow("square wave") << littleEndian({32767, -32767}).repeated(240) << 1.0;
    QTest::newRow("lowest value everywhere") << littleEndian({-32768}).repeated(1'000'003) << 32768.0 / 32767.0;
    QTest::newRow("mixed") << littleEndian({3, -4}) << std::sqrt(12.5) / 32767.0;
}

void AudioSampleConverterTest::measuresLoudness()
{
    QFETCH(QByteArray, chunk);
    QFETCH(double, level);
    const double measured = AudioSampleConverter::rootMeanSquare(chunk);
    QVERIFY2(std::abs(measured - level) <= level * 1e-15, qPrintable(QString::number(measured, 'g', 17)));
}

void AudioSampleConverterTest::everyKernelEqualsThePlainRule()
{
    constexpr std::size_t most = 100;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(-1.2F, 1.2F);
    std::vector<float> samples(most + 1);
    for (float& sample : samples) {
        sample = uniform(random);
    }
    for (const SampleKernels& kernels : availableSampleKernels()) {
        for (std::size_t count = 0; count <= most; ++count) {
            for (std::size_t offset = 0; offset <= sizeof(float); ++offset) {
                std::vector<std::byte> source(count * sizeof(float) + offset);
                std::ranges::copy(std::as_bytes(std::span(samples).first(count)),
                                  source.begin() + static_cast<std::ptrdiff_t>(offset));
                std::vector<std::byte> pcm(2 * count + offset + 1, std::byte{0x5A});
                kernels.floatToPcm16(source.data() + offset, count, pcm.data() + offset);

                std::vector<std::int16_t> expected;
                std::uint64_t expectedSum = 0;
                for (std::size_t index = 0; index < count; ++index) {
                    expected.push_back(test::plainlyConverted(samples[index]));
                    expectedSum += static_cast<std::uint64_t>(expected.back() * expected.back());
                }
                const QByteArray converted(reinterpret_cast<const char*>(pcm.data() + offset),
                                           static_cast<qsizetype>(2 * count));
                QCOMPARE(converted, littleEndian(expected));
                QCOMPARE(pcm.back(), std::byte{0x5A});
                QCOMPARE(kernels.sumOfSquares(pcm.data() + offset, count), expectedSum);
            }
        }
    }
}

} // namespace quorvel

QTEST_APPLESS_MAIN(quorvel::AudioSampleConverterTest)
#include "AudioSampleConverterTest.moc"
