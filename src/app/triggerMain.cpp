// fenlo-trigger: `fenlo trigger` without the rest of the program, which takes longer to load than a key is tapped.

#include "app/ExitStatus.h"
#include "app/TriggerOrder.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: fenlo-trigger press|release|toggle|command|cancel\n", stderr);
        return fenlo::exitStatus::usage;
    }
    return fenlo::orderTrigger(argv[1]);
}
