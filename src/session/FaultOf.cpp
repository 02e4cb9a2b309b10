#include "session/FaultOf.h"

#include "platform/HttpClient.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcription.h"

#include <cstdlib>

namespace fenlo {

namespace {

TakeFault faultOfStatus(int status) {
    switch (status) {
    case 401:
    case 403:
        return TakeFault::keyRefused;
    case 402:
    case 429:
        return TakeFault::quotaUsedUp;
    default:
        return status >= 500 ? TakeFault::serviceOutOfOrder : TakeFault::recordingRefused;
    }
}

TakeFault faultOf(const TranscriberError& error) {
    switch (error.kind) {
    case TranscriberError::Kind::noAPIKey:
        return TakeFault::keyMissing;
    case TranscriberError::Kind::invalidResponse:
        return TakeFault::answerUnreadable;
    case TranscriberError::Kind::networkError:
        return error.status ? faultOfStatus(*error.status) : TakeFault::serviceSilent;
    }
    std::abort();
}

TakeFault faultOf(const HttpError& error) {
    switch (error.kind) {
    case HttpError::Kind::connection:
    case HttpError::Kind::timeout:
    case HttpError::Kind::cancelled:
    case HttpError::Kind::badUrl:
        return TakeFault::serviceSilent;
    case HttpError::Kind::tls:
        return TakeFault::serviceUntrusted;
    case HttpError::Kind::tooLarge:
        return TakeFault::answerUnreadable;
    }
    std::abort();
}

} // namespace

TakeFault faultOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const TranscriberError& fault) {
        return faultOf(fault);
    } catch (const HttpError& fault) {
        return faultOf(fault);
    } catch (const LocalTranscriberError&) {
        return TakeFault::engineFailed;
    } catch (...) {
        return TakeFault::ownFault;
    }
}

TakeFault faultOf(AudioRecorder::Fault fault) {
    switch (fault) {
    case AudioRecorder::Fault::noSoundServer:
        return TakeFault::noSoundServer;
    case AudioRecorder::Fault::noInput:
        return TakeFault::noMicrophone;
    case AudioRecorder::Fault::refused:
        return TakeFault::microphoneRefused;
    case AudioRecorder::Fault::noSound:
        return TakeFault::microphoneSilent;
    case AudioRecorder::Fault::noSpace:
        return TakeFault::noSpace;
    }
    std::abort();
}

std::string messageOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& fault) {
        return fault.what();
    } catch (...) {
        return "an error without a name";
    }
}

} // namespace fenlo
