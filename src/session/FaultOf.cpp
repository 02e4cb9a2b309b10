#include "session/FaultOf.h"

#include "platform/HttpClient.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcription.h"

#include <cstddef>
#include <limits>

namespace fenlo {

namespace {

template <typename Kind>
struct Row {
    Kind kind;
    TakeFault fault;
};

constexpr Row<HttpError::Kind> connectionFaults[] = {
    {HttpError::Kind::connection, TakeFault::serviceSilent}, {HttpError::Kind::timeout, TakeFault::serviceSilent},
    {HttpError::Kind::cancelled, TakeFault::serviceSilent},  {HttpError::Kind::badUrl, TakeFault::serviceSilent},
    {HttpError::Kind::tls, TakeFault::serviceUntrusted},     {HttpError::Kind::tooLarge, TakeFault::answerUnreadable},
};

constexpr Row<TranscriberError::Kind> serviceFaults[] = {
    {TranscriberError::Kind::noAPIKey, TakeFault::keyMissing},
    {TranscriberError::Kind::invalidResponse, TakeFault::answerUnreadable},
    {TranscriberError::Kind::networkError, TakeFault::serviceSilent}, // when it has no status
};

constexpr Row<AudioRecorder::Fault> recorderFaults[] = {
    {AudioRecorder::Fault::noSoundServer, TakeFault::noSoundServer},
    {AudioRecorder::Fault::noInput, TakeFault::noMicrophone},
    {AudioRecorder::Fault::refused, TakeFault::microphoneRefused},
    {AudioRecorder::Fault::noSound, TakeFault::microphoneSilent},
    {AudioRecorder::Fault::noSpace, TakeFault::noSpace},
};

struct StatusRow {
    int first, last;
    TakeFault fault;
};

/// The first row that holds a status counts.
constexpr StatusRow statusFaults[] = {
    {401, 401, TakeFault::keyRefused},
    {403, 403, TakeFault::keyRefused},
    {402, 402, TakeFault::quotaUsedUp},
    {429, 429, TakeFault::quotaUsedUp},
    {500, std::numeric_limits<int>::max(), TakeFault::serviceOutOfOrder},
    {std::numeric_limits<int>::min(), 499, TakeFault::recordingRefused},
};

template <typename Kind, std::size_t count>
TakeFault lookUp(const Row<Kind> (&rows)[count], Kind kind) {
    for (const Row<Kind>& row : rows)
        if (row.kind == kind)
            return row.fault;
    return TakeFault::ownFault;
}

TakeFault faultOfStatus(int status) {
    for (const StatusRow& row : statusFaults)
        if (row.first <= status && status <= row.last)
            return row.fault;
    return TakeFault::ownFault;
}

} // namespace

TakeFault faultOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const TranscriberError& fault) {
        return fault.status ? faultOfStatus(*fault.status) : lookUp(serviceFaults, fault.kind);
    } catch (const HttpError& fault) {
        return lookUp(connectionFaults, fault.kind);
    } catch (const LocalTranscriberError&) {
        return TakeFault::engineFailed;
    } catch (...) {
        return TakeFault::ownFault;
    }
}

TakeFault faultOf(AudioRecorder::Fault fault) {
    return lookUp(recorderFaults, fault);
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
