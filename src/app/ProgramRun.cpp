#include "app/ProgramRun.h"

#include "base/Background.h"

namespace fenlo {

void runProgram(const ProgramSteps& steps, ThreadBackground& background) {
    struct Ending {
        ~Ending() {
            background.askToStop();
            release();
            background.stop();
        }
        const std::function<void()>& release;
        ThreadBackground& background;
    };
    const Ending ending{steps.release, background};
    steps.launch();
    steps.loop();
    steps.terminate();
}

} // namespace fenlo
