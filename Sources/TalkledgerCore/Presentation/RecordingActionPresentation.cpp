#include "TalkledgerCore/Presentation/RecordingActionPresentation.h"

namespace talkledger {

RecordingActionPresentation::RecordingActionPresentation(bool isRecording, const AppCopy& copy)
    : title(isRecording ? copy.stopRecording() : copy.startRecording()),
      systemImageName(isRecording ? "stop.fill" : "record.circle.fill"),
      tone(isRecording ? RecordingActionTone::stop : RecordingActionTone::start) {}

} // namespace talkledger
