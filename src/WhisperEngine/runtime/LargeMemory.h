#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <sys/mman.h>

namespace fenlo::whisper {

/// Uninitialised numbers that are read from end to end again and again, in pages of 2 MiB where the system has some:
/// with those of 4 KiB a core reads a third slower, since both the translation of addresses and the processor's
/// look-ahead begin anew at each page.
///
/// Errors: std::bad_alloc.
template <class Number>
class LargeMemory {
public:
    LargeMemory() = default;
    explicit LargeMemory(std::size_t count) {
        constexpr std::size_t page = std::size_t{2} << 20;
        const std::size_t bytes = (count * sizeof(Number) + page - 1) / page * page;
        m_numbers.reset(static_cast<Number*>(std::aligned_alloc(page, bytes)));
        if (!m_numbers && bytes > 0)
            throw std::bad_alloc();
        ::madvise(m_numbers.get(), bytes, MADV_HUGEPAGE); // a wish; small pages do as well
    }

    Number* data() const { return m_numbers.get(); }

private:
    struct Free {
        void operator()(Number* numbers) const { std::free(numbers); }
    };
    std::unique_ptr<Number, Free> m_numbers;
};

} // namespace fenlo::whisper
