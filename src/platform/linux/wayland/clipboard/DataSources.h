#pragma once

#include "platform/linux/desktop/clipboard/Selections.h"
#include "platform/linux/wayland/clipboard/DataControlConnection.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// What a selection holds: a text, which stands for all names of plain text, and other forms of the same.
struct DataContents {
    struct Form {
        std::string name;
        std::shared_ptr<const std::string> bytes;
    };

    std::shared_ptr<const std::string> text; // UTF-8; null when there is none
    std::vector<Form> forms;                 // in their owner's order

    bool isEmpty() const { return !text && forms.empty(); }
};

/// The names under which programs ask for plain text, the best first.
const std::vector<std::string>& dataTextNames();

/// What we offer as selections. A source that another has followed answers until the compositor drops it.
///
/// Threads: one.
class DataSources {
public:
    using Name = Selections::Name;
    using Stay = Selections::Stay;
    /// Writes the bytes into the pipe, which it takes over.
    using Write = std::function<void(int pipe, std::shared_ptr<const std::string> bytes)>;

    struct Source {
        Source(DataSources& of, Name selection, DataContents holds, Stay staying);
        ~Source() { zwlr_data_control_source_v1_destroy(handle); }
        Source(const Source&) = delete;
        Source& operator=(const Source&) = delete;

        DataSources& owner;
        const Name name;
        const DataContents contents;
        const Stay stay;
        zwlr_data_control_source_v1* const handle;
    };

    DataSources(DataControlConnection& connection, Write write) : m_connection(connection), m_write(std::move(write)) {}

    /// Takes the selection.
    void offer(Name name, DataContents contents, Stay stay);
    void clear(Name name);
    /// Null when the selection is not ours, as far as the compositor has told.
    const Source* current(Name name) const;

private:
    void set(Name name, zwlr_data_control_source_v1* source);
    void offerForms(const Source& source) const;
    void send(const Source& source, const std::string& form, int pipe) const;
    void drop(const Source& source);

    DataControlConnection& m_connection;
    const Write m_write;
    std::list<Source> m_sources; // the newest last
};

} // namespace fenlo
