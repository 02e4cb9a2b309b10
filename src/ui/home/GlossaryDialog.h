#pragma once

#include <filesystem>
#include <functional>
#include <memory>

class QFileDialog;

namespace fenlo {

/// The desktop's dialog in which the user picks a glossary file.
///
/// Threads: main thread only. It waits for nobody; the choice comes from the event loop.
class GlossaryDialog {
public:
    GlossaryDialog();
    ~GlossaryDialog();
    GlossaryDialog(const GlossaryDialog&) = delete;
    GlossaryDialog& operator=(const GlossaryDialog&) = delete;

    /// Above the window that has the keyboard. `chosen` is not called when the user cancels.
    void open(std::function<void(const std::filesystem::path&)> chosen);

private:
    std::unique_ptr<QFileDialog> m_dialog;
};

} // namespace fenlo
