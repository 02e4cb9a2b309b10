// The built-in table of devices and models, as data.

#include "WhisperEngine/Models/ModelSupport.h"

namespace fenlo::whisper {

namespace {

using Names = std::vector<std::string>;

// For phones: the small models, and the large ones in packed forms only.
const Names packedModels{
    "openai_whisper-tiny",
    "openai_whisper-tiny.en",
    "openai_whisper-base",
    "openai_whisper-base.en",
    "openai_whisper-small",
    "openai_whisper-small.en",
    "openai_whisper-large-v2_949MB",
    "openai_whisper-large-v2_turbo_955MB",
    "openai_whisper-large-v3_947MB",
    "openai_whisper-large-v3_turbo_954MB",
    "distil-whisper_distil-large-v3_594MB",
    "distil-whisper_distil-large-v3_turbo_600MB",
    "openai_whisper-large-v3-v20240930_626MB",
    "openai_whisper-large-v3-v20240930_turbo_632MB",
};

const Names largeModels{
    "openai_whisper-tiny",
    "openai_whisper-tiny.en",
    "openai_whisper-base",
    "openai_whisper-base.en",
    "openai_whisper-small",
    "openai_whisper-small.en",
    "openai_whisper-large-v2",
    "openai_whisper-large-v2_949MB",
    "openai_whisper-large-v3",
    "openai_whisper-large-v3_947MB",
    "distil-whisper_distil-large-v3",
    "distil-whisper_distil-large-v3_594MB",
    "openai_whisper-large-v3-v20240930_626MB",
};

const Names allModels{
    "openai_whisper-tiny",
    "openai_whisper-tiny.en",
    "openai_whisper-base",
    "openai_whisper-base.en",
    "openai_whisper-small",
    "openai_whisper-small.en",
    "openai_whisper-large-v2",
    "openai_whisper-large-v2_949MB",
    "openai_whisper-large-v2_turbo",
    "openai_whisper-large-v2_turbo_955MB",
    "openai_whisper-large-v3",
    "openai_whisper-large-v3_947MB",
    "openai_whisper-large-v3_turbo",
    "openai_whisper-large-v3_turbo_954MB",
    "distil-whisper_distil-large-v3",
    "distil-whisper_distil-large-v3_594MB",
    "distil-whisper_distil-large-v3_turbo",
    "distil-whisper_distil-large-v3_turbo_600MB",
    "openai_whisper-large-v3-v20240930",
    "openai_whisper-large-v3-v20240930_turbo",
    "openai_whisper-large-v3-v20240930_626MB",
    "openai_whisper-large-v3-v20240930_turbo_632MB",
};

} // namespace

const ModelSupportConfig& ModelSupportConfig::fallback() {
    static const ModelSupportConfig config =
        of("whisper-models-fallback", "0.4",
           {
               {"A12, A13, S9, S10",
                {"iPhone11", "iPhone12", "iPad12,1", "iPad12,2", "Watch7", "Watch8"},
                {"openai_whisper-tiny",
                 {"openai_whisper-base", "openai_whisper-base.en", "openai_whisper-tiny", "openai_whisper-tiny.en"},
                 {}}},
               {"A16, A17 Pro, A18",
                {"iPhone15", "iPhone16", "iPhone17", "iPad15,7", "iPad15,8", "iPad16,1", "iPad16,2"},
                {"openai_whisper-base", packedModels, {}}},
               {"M1",
                {"MacBookPro17,1", "MacBookPro18,1", "MacBookPro18,2", "MacBookPro18,3", "MacBookPro18,4",
                 "MacBookAir10,1", "Macmini9,1",     "iMac21,1",       "iMac21,2",       "Mac13",
                 "iPad13,4",       "iPad13,5",       "iPad13,6",       "iPad13,7",       "iPad13,8",
                 "iPad13,9",       "iPad13,10",      "iPad13,11",      "iPad13,16",      "iPad13,17"},
                {"openai_whisper-large-v3-v20240930_626MB", largeModels, {}}},
               {"M2, M3, M4",
                {"Mac14", "Mac15", "Mac16", "iPad14,3", "iPad14,4", "iPad14,5", "iPad14,6", "iPad14,8", "iPad14,9",
                 "iPad14,10", "iPad14,11", "iPad15", "iPad16"},
                {"openai_whisper-large-v3-v20240930", allModels, {}}},
               {"A14",
                {"iPhone13", "iPad13,1", "iPad13,2", "iPad13,18", "iPad13,19"},
                {"openai_whisper-base",
                 {"openai_whisper-tiny", "openai_whisper-tiny.en", "openai_whisper-base", "openai_whisper-base.en",
                  "openai_whisper-small", "openai_whisper-small.en"},
                 {}}},
               {"A15", {"iPhone14", "iPad14,1", "iPad14,2"}, {"openai_whisper-base", packedModels, {}}},
           });
    return config;
}

} // namespace fenlo::whisper
