#include "speech/PooledRecognizer.h"

#include "speech/RecognitionWorker.h"

#include <algorithm>
#include <utility>

namespace quorvel::localbackend {

class PooledRecognizer::Handle : public RecognitionStream
{
public:
    Handle(std::shared_ptr<RecognitionWorker> worker, std::uint64_t number, Recognizer::Handler handler)
        : m_worker(std::move(worker))
        , m_stream(m_worker->open(number, std::move(handler)))
    {
    }
    ~Handle() override { m_worker->close(std::move(m_stream)); }
    Handle(const Handle&) = delete;
    Handle(Handle&&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle& operator=(Handle&&) = delete;

    void feed(std::vector<std::int16_t> samples, SteadyTime arrival) override
    {
        m_worker->feed(m_stream, std::move(samples), arrival);
    }
    void pause() override { m_worker->pause(m_stream); }

private:
    std::shared_ptr<RecognitionWorker> m_worker;
    std::shared_ptr<StreamRecognition> m_stream;
};

PooledRecognizer::PooledRecognizer(std::vector<std::shared_ptr<RecognitionWorker>> workers)
    : m_workers(std::move(workers))
{
}

PooledRecognizer::~PooledRecognizer() = default;

Result<std::unique_ptr<PooledRecognizer>> PooledRecognizer::make(const DecoderSourceFactory& sources,
                                                                 RecognitionLimits limits)
{
    std::vector<std::shared_ptr<RecognitionWorker>> workers;
    for (std::size_t i = 0; i < std::max<std::size_t>(limits.threads, 1); ++i)
        workers.push_back(std::make_shared<RecognitionWorker>(sources, limits));
    if (const auto ready = workers.front()->prepare(); !ready)
        return std::unexpected(ready.error());
    return std::unique_ptr<PooledRecognizer>(new PooledRecognizer(std::move(workers)));
}

std::unique_ptr<RecognitionStream> PooledRecognizer::open(Handler handler)
{
    const auto worker = std::ranges::min_element(m_workers, {}, [](const auto& each) { return each->streamCount(); });
    return std::make_unique<Handle>(*worker, ++m_lastStream, std::move(handler));
}

} // namespace quorvel::localbackend
