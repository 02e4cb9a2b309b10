#include "app/Windows.h"

#include "audio/voice/VoiceProfile.h"

namespace fenlo {

Windows::Windows(WindowServices services)
    : appearance(services.config), voice({services.audioInput, services.clock, services.mainQueue, services.background,
                                          services.config, services.notifications},
                                         voiceProfileFile()),
      voiceReading(appearance,
                   {services.audioInput, services.clock, services.mainQueue, services.background, services.config,
                    services.notifications, services.keys},
                   voiceProfileFile()),
      home({appearance, voice, [this] { voiceReading.open(); }}) {
    voiceReading.onClosed = [this] { voice.refresh(); };
}

} // namespace fenlo
