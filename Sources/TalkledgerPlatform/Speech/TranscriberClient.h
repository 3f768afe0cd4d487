#pragma once

#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerPlatform/Worker/WorkerSettings.h"
#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <memory>

namespace talkledger {

class Transcription;

constexpr const char* speechRecogniserName = "The speech recogniser"; ///< in the sentences of errors

/// Has the transcriber, a program of its own, recognise speech. The program is started by the first request, kept for
/// further ones, and ended when none has come for a while; a live stream without a model file has one for itself, which
/// ends with it, and so has the check of a model. One that crashes, hangs or talks nonsense fails the requests that it
/// was working on with a `WorkerError`, and nothing else; the next request starts a new one. A live stream that has
/// begun goes on with a new one by itself, some times over: it loses what was being said, and keeps what it was told.
/// All traffic with it runs on a thread of this object. Called on one thread. Contexts on which coroutines wait for
/// transcriptions have to outlive it.
class TranscriberClient {
public:
    explicit TranscriberClient(WorkerSettings settings);

    /// Fails what is under way, ends the program and waits for its end, which it is given the settings' grace for.
    ~TranscriberClient();
    TranscriberClient(const TranscriberClient&) = delete;
    TranscriberClient& operator=(const TranscriberClient&) = delete;

    /// A transcription to be started; may outlive this object, then as one that failed.
    std::shared_ptr<Transcription> makeTranscription();

    /// Starts the work; `file.request` is chosen here. Failures are told to the transcription.
    void start(const std::shared_ptr<Transcription>& transcription, TranscribeFile file);

    /// Starts a live stream, which begins when the transcription has `started`; `stream.request` is chosen here.
    void startStream(const std::shared_ptr<Transcription>& transcription, StartStream stream);

    /// Has a model tried; `model.request` is chosen here. The transcription ends without an event, or fails.
    void check(const std::shared_ptr<Transcription>& transcription, CheckModel model);

    /// Carries audio to a stream that has begun, until the sequence ends.
    void feed(const std::shared_ptr<Transcription>& transcription, std::shared_ptr<AnalyzerInputSequence> inputs);

    /// Gives the work up.
    void cancel(const std::shared_ptr<Transcription>& transcription) noexcept;

private:
    class Service;
    std::unique_ptr<Service> service_;
};

} // namespace talkledger
