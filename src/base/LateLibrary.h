#pragma once

#include <atomic>
#include <stdexcept>

namespace fenlo {

/// A library that is not installed, or too old for what is asked of it.
class LateLibraryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Opens the library for good and finds the function. What was preloaded comes first, as for a linked library.
void* findLateFunction(const char* library, const char* name);

/// A function of a C library that the program is not linked with: the library is opened with the first call, so that
/// the start does not wait for what it may never need. It is called like the function itself. Declared under its own
/// name in the namespace of those who call it, it takes the place of the vendor's declaration there.
///
/// Threads: any.
/// Errors:  a call throws LateLibraryError where the library or the function is missing.
template <class Function>
class LateFunction {
public:
    constexpr LateFunction(const char* library, const char* name) : m_library(library), m_name(name) {}
    LateFunction(const LateFunction&) = delete;
    LateFunction& operator=(const LateFunction&) = delete;

    operator Function*() { // NOLINT(google-explicit-constructor): this is the call
        Function* found = m_found.load(std::memory_order_acquire);
        if (!found) {
            found = reinterpret_cast<Function*>(findLateFunction(m_library, m_name));
            m_found.store(found, std::memory_order_release);
        }
        return found;
    }

private:
    const char* const m_library;
    const char* const m_name;
    std::atomic<Function*> m_found = nullptr;
};

} // namespace fenlo

/// Declares `name`, a function of the header included before.
#define FENLO_LATE_FUNCTION(library, name)                                                                             \
    inline constinit ::fenlo::LateFunction<decltype(::name)> name(library, #name) // NOLINT(bugprone-macro-parentheses)
