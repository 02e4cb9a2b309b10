#include "ui/home/VoiceProfileAdapter.h"

namespace fenlo {

VoiceProfileAdapter::VoiceProfileAdapter(VoiceProfileModel& model, std::function<void()> readPassage)
    : m_model(model), m_readPassage(std::move(readPassage)), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

} // namespace fenlo
