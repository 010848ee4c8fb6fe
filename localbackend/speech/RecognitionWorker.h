#pragma once

#include "speech/PhraseDecoder.h"
#include "speech/RecognitionLimits.h"
#include "speech/Recognizer.h"

#include <boost/asio/thread_pool.hpp>

#include <atomic>
#include <deque>
#include <memory>
#include <vector>

namespace quorvel::localbackend {

class StreamRecognition;

/// One recognition thread: its decoders, and the streams that share them. The public operations only queue work for
/// the thread, but for prepare, which waits.
class RecognitionWorker
{
public:
    RecognitionWorker(DecoderSourceFactory source, RecognitionLimits limits);
    RecognitionWorker(const RecognitionWorker&) = delete;
    RecognitionWorker(RecognitionWorker&&) = delete;
    RecognitionWorker& operator=(const RecognitionWorker&) = delete;
    RecognitionWorker& operator=(RecognitionWorker&&) = delete;
    ~RecognitionWorker();

    /// Makes the first decoder and waits for it.
    [[nodiscard]] Result<void> prepare();

    [[nodiscard]] std::shared_ptr<StreamRecognition> open(std::uint64_t number, Recognizer::Handler handler);
    void feed(std::shared_ptr<StreamRecognition> stream, std::vector<std::int16_t> samples, SteadyTime arrival);
    void pause(std::shared_ptr<StreamRecognition> stream);
    void close(std::shared_ptr<StreamRecognition> stream);

    /// Streams that are open; any thread.
    [[nodiscard]] std::size_t streamCount() const { return m_streamCount; }

    // For the streams, on the thread:

    /// A free decoder; null when all are taken, and then the stream is resumed with one when its turn comes. Fails when
    /// none can be made.
    [[nodiscard]] Result<std::unique_ptr<PhraseDecoder>> borrow(const std::shared_ptr<StreamRecognition>& stream);
    void giveBack(std::unique_ptr<PhraseDecoder> decoder);
    /// Ends a decoder that failed; another may be made in its place.
    void discard(std::unique_ptr<PhraseDecoder> decoder);
    /// Lets the stream go on after everything that is queued already.
    void schedule(std::shared_ptr<StreamRecognition> stream);

private:
    /// The open stream that has waited for a decoder the longest, which then waits no more; or null.
    [[nodiscard]] std::shared_ptr<StreamRecognition> nextWaiting();

    DecoderSourceFactory m_makeSource;
    RecognitionLimits m_limits;
    std::unique_ptr<DecoderSource> m_source;
    std::vector<std::unique_ptr<PhraseDecoder>> m_free;
    std::size_t m_decoders = 0;
    std::deque<std::weak_ptr<StreamRecognition>> m_waiting;
    std::atomic<std::size_t> m_streamCount = 0;
    boost::asio::thread_pool m_thread{1};
};

} // namespace quorvel::localbackend
