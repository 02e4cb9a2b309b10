#include "app/CoreFiles.h"

#include <sys/resource.h>

namespace fenlo {

void leaveNoCoreFiles() {
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    // One byte: no file of it is ever written, and it is the one limit with which the kernel starts no collecting
    // program either; with none such a program would get the whole image.
    limit.rlim_cur = limit.rlim_max < 1 ? limit.rlim_max : 1;
    ::setrlimit(RLIMIT_CORE, &limit);
}

} // namespace fenlo
