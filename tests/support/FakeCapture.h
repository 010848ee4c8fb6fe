#pragma once

#include "platform/CaptureStream.h"
#include "platform/ShareableContent.h"
#include "support/Step.h"

#include <QByteArray>

#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace quorvel::test {

class FakeShareableContent final : public platform::ShareableContentProvider
{
public:
    [[nodiscard]] Task<Result<platform::ShareableContent>> shareableContent(bool excludingDesktopWindows,
                                                                            bool onScreenWindowsOnly) override
    {
        lastArguments = {excludingDesktopWindows, onScreenWindowsOnly};
        return reading.run();
    }

    Step<platform::ShareableContent> reading{platform::ShareableContent{}};
    std::pair<bool, bool> lastArguments;
};

/// The steps of every stream that a provider makes, shared so that a test can prepare them beforehand.
struct CaptureSteps
{
    Result<> addAudio;
    Result<> addScreen;
    Step<> start;
    Step<> stop;
};

class FakeCaptureStream final : public platform::CaptureStream
{
public:
    struct Output
    {
        std::shared_ptr<platform::CaptureStreamOutput> output;
        platform::CaptureOutputType type;
        QByteArray queueLabel;
    };

    FakeCaptureStream(platform::ContentFilter streamFilter, platform::CaptureConfiguration streamConfiguration,
                      std::weak_ptr<platform::CaptureStreamDelegate> streamDelegate,
                      std::shared_ptr<CaptureSteps> steps)
        : filter(std::move(streamFilter))
        , configuration(streamConfiguration)
        , delegate(std::move(streamDelegate))
        , m_steps(std::move(steps))
    {
    }

    [[nodiscard]] Result<> addStreamOutput(std::shared_ptr<platform::CaptureStreamOutput> output,
                                           platform::CaptureOutputType type, const char* queueLabel) override
    {
        outputs.push_back({.output = std::move(output), .type = type, .queueLabel = queueLabel});
        return type == platform::CaptureOutputType::audio ? m_steps->addAudio : m_steps->addScreen;
    }
    [[nodiscard]] Task<Result<>> startCapture() override { return m_steps->start.run(); }
    [[nodiscard]] Task<Result<>> stopCapture() override { return m_steps->stop.run(); }

    /// Delivers one buffer to every output, as of the type given. The bytes are 32-bit floats unless told otherwise.
    void deliver(const QByteArray& bytes, platform::CaptureOutputType type = platform::CaptureOutputType::audio,
                 platform::AudioStreamDescription description = {
                     .bitsPerChannel = 32, .formatFlags = platform::AudioStreamDescription::isFloat})
    {
        const platform::AudioSampleBuffer buffer{
            .isValid = true,
            .description = description,
            .data = std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size()))),
        };
        for (const Output& candidate : outputs) {
            if (candidate.type == type) {
                candidate.output->didOutputSampleBuffer(buffer, type);
            }
        }
    }

    platform::ContentFilter filter;
    platform::CaptureConfiguration configuration;
    std::weak_ptr<platform::CaptureStreamDelegate> delegate;
    std::vector<Output> outputs;

private:
    std::shared_ptr<CaptureSteps> m_steps;
};

class FakeCaptureProvider final : public platform::CaptureProvider
{
public:
    [[nodiscard]] bool preflightAccess() override
    {
        ++preflights;
        return isAllowed;
    }
    void requestAccess() override { ++requests; }

    [[nodiscard]] std::shared_ptr<platform::CaptureStream>
    makeStream(platform::ContentFilter filter, platform::CaptureConfiguration configuration,
               std::weak_ptr<platform::CaptureStreamDelegate> delegate) override
    {
        streams.push_back(
            std::make_shared<FakeCaptureStream>(std::move(filter), configuration, std::move(delegate), steps));
        return streams.back();
    }

    bool isAllowed = true;
    int preflights = 0;
    int requests = 0;
    std::shared_ptr<CaptureSteps> steps = std::make_shared<CaptureSteps>();
    std::vector<std::shared_ptr<FakeCaptureStream>> streams;
};

} // namespace quorvel::test
