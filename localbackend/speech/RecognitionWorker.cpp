#include "speech/RecognitionWorker.h"

#include "speech/StreamRecognition.h"

#include <boost/asio/post.hpp>

#include <future>
#include <utility>

namespace quorvel::localbackend {

namespace asio = boost::asio;

RecognitionWorker::RecognitionWorker(DecoderSourceFactory source, RecognitionLimits limits)
    : m_makeSource(std::move(source))
    , m_limits(limits)
{
}

RecognitionWorker::~RecognitionWorker()
{
    // What is queued is not worth waiting for; a phrase step that runs ends within a fraction of a second.
    m_thread.stop();
    m_thread.join();
}

Result<void> RecognitionWorker::prepare()
{
    std::promise<Result<void>> outcome;
    asio::post(m_thread, [this, &outcome] {
        auto decoder = borrow(nullptr);
        if (!decoder) {
            outcome.set_value(std::unexpected(decoder.error()));
            return;
        }
        giveBack(std::move(*decoder));
        outcome.set_value({});
    });
    return outcome.get_future().get();
}

std::shared_ptr<StreamRecognition> RecognitionWorker::open(std::uint64_t number, Recognizer::Handler handler)
{
    ++m_streamCount;
    return std::make_shared<StreamRecognition>(*this, number, m_limits, std::move(handler));
}

void RecognitionWorker::feed(std::shared_ptr<StreamRecognition> stream, std::vector<std::int16_t> samples,
                             SteadyTime arrival)
{
    asio::post(m_thread, [stream = std::move(stream), samples = std::move(samples), arrival]() mutable {
        stream->feed(std::move(samples), arrival);
    });
}

void RecognitionWorker::pause(std::shared_ptr<StreamRecognition> stream)
{
    asio::post(m_thread, [stream = std::move(stream)] { stream->pause(); });
}

void RecognitionWorker::close(std::shared_ptr<StreamRecognition> stream)
{
    --m_streamCount;
    asio::post(m_thread, [stream = std::move(stream)] { stream->close(); });
}

void RecognitionWorker::schedule(std::shared_ptr<StreamRecognition> stream)
{
    asio::post(m_thread, [stream = std::move(stream)] { stream->step(); });
}

Result<std::unique_ptr<PhraseDecoder>> RecognitionWorker::borrow(const std::shared_ptr<StreamRecognition>& stream)
{
    if (!m_free.empty()) {
        auto decoder = std::move(m_free.back());
        m_free.pop_back();
        return decoder;
    }
    if (m_decoders >= m_limits.decodersPerThread) {
        m_waiting.push_back(stream);
        return nullptr;
    }
    if (!m_source)
        m_source = m_makeSource();
    auto decoder = m_source->make();
    if (decoder)
        ++m_decoders;
    return decoder;
}

void RecognitionWorker::giveBack(std::unique_ptr<PhraseDecoder> decoder)
{
    // Handed over, not only offered: a stream that begins a phrase before the waiting one runs would take it.
    if (auto stream = nextWaiting()) {
        asio::post(m_thread, [stream = std::move(stream), decoder = std::move(decoder)]() mutable {
            stream->resume(std::move(decoder));
        });
    } else {
        m_free.push_back(std::move(decoder));
    }
}

void RecognitionWorker::discard(std::unique_ptr<PhraseDecoder> decoder)
{
    decoder.reset();
    --m_decoders;
    if (auto stream = nextWaiting())
        schedule(std::move(stream));
}

std::shared_ptr<StreamRecognition> RecognitionWorker::nextWaiting()
{
    while (!m_waiting.empty()) {
        auto stream = m_waiting.front().lock();
        m_waiting.pop_front();
        if (stream && !stream->isClosed())
            return stream;
    }
    return nullptr;
}

} // namespace quorvel::localbackend
