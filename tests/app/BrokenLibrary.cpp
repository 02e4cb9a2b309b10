// Loaded before oneDNN: its products meet an illegal instruction in a process that FENLO_ISA confines to the step
// BROKEN_STEP, as each trial of a step is.

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <oneapi/dnnl/dnnl.h>

dnnl_status_t dnnl_primitive_execute(const_dnnl_primitive_t primitive, dnnl_stream_t stream, int count,
                                     const dnnl_exec_arg_t* arguments) {
    const char* broken = std::getenv("BROKEN_STEP");
    const char* step = std::getenv("FENLO_ISA");
    if (broken && step && std::strcmp(broken, step) == 0)
        std::raise(SIGILL);
    static const auto real =
        reinterpret_cast<decltype(&dnnl_primitive_execute)>(::dlsym(RTLD_NEXT, "dnnl_primitive_execute"));
    return real(primitive, stream, count, arguments);
}
