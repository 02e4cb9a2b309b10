#pragma once

#include "base/Guarded.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class Background;

/// A small file that is written again and again, on a worker: one write at a time, and what was replaced before its
/// turn came is never written.
///
/// Threads:  any.
/// Lifetime: make it by std::make_shared; a write under way holds it. The background must live as long as its tasks.
class StateFile : public std::enable_shared_from_this<StateFile> {
public:
    StateFile(std::filesystem::path file, Background& background);

    /// The file is replaced whole. Nothing happens when the content is that of the latest call.
    void write(std::string content);

    /// Writes once more what could not be written; nothing happens otherwise.
    void tryAgain();

    /// Why the latest write failed; empty when all is well.
    std::string trouble() const;

private:
    struct Contents {
        std::string latest;
        bool isWritten = true;
        bool isWriting = false;
        std::string trouble;
    };

    void start();
    std::optional<std::string> next();
    void writeAll();

    const std::filesystem::path m_file;
    Background& m_background;
    Guarded<Contents> m_contents;
};

} // namespace fenlo
