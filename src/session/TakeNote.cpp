#include "session/TakeNote.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

std::string lineOf(const Take& take, std::chrono::system_clock::time_point recorded) {
    Json chunks = Json::array();
    for (const fs::path& chunk : take.chunks)
        chunks.push_back(chunk.string());
    Json line = {{"recorded", std::chrono::system_clock::to_time_t(recorded)},
                 {"duration", take.duration},
                 {"speech_ratio", take.speechRatio},
                 {"command", take.isCommand},
                 {"copy", take.isCopy},
                 {"texts", take.texts},
                 {"chunks", chunks}};
    if (take.isolated)
        line["isolated"] = take.isolated->string();
    return writeJson(line) + "\n";
}

std::vector<std::string> stringsAt(const Json& line, const char* key) {
    std::vector<std::string> strings;
    if (const auto found = line.find(key); found != line.end() && found->is_array())
        for (const Json& item : *found)
            if (item.is_string())
                strings.push_back(item.get<std::string>());
    return strings;
}

double numberAt(const Json& line, const char* key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_number() ? found->get<double>() : 0;
}

bool isTrue(const Json& line, const char* key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_boolean() && found->get<bool>();
}

Take takeOf(const Json& line) {
    Take take;
    for (const std::string& chunk : stringsAt(line, "chunks"))
        take.chunks.emplace_back(chunk);
    take.duration = numberAt(line, "duration");
    take.speechRatio = static_cast<float>(numberAt(line, "speech_ratio"));
    take.texts = stringsAt(line, "texts");
    take.isCommand = isTrue(line, "command");
    take.isCopy = isTrue(line, "copy");
    if (const auto found = line.find("isolated"); found != line.end() && found->is_string())
        take.isolated = found->get<std::string>();
    return take;
}

/// The last complete line; an empty object when there is none.
Json lastState(const fs::path& file) {
    Json state = Json::object();
    for (const std::string& line : text::split(files::read(file).value_or(""), '\n'))
        if (Json values = parseJson(line); values.is_object())
            state = std::move(values);
    return state;
}

bool sync(const fs::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synced = descriptor >= 0 && ::fsync(descriptor) == 0;
    if (descriptor >= 0)
        ::close(descriptor);
    return synced;
}

/// Makes a hard link to the file, or a copy when the target is on another file system.
bool bring(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::remove(to, error);
    fs::create_hard_link(from, to, error);
    if (error) {
        fs::copy_file(from, to, error);
        if (!error)
            fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write, error);
    }
    return !error && sync(to);
}

} // namespace

TakeNote::TakeNote(const fs::path& folder, std::chrono::system_clock::time_point recorded)
    : m_file(folder / (files::makeUuid() + extension)), m_recorded(recorded) {}

TakeNote::TakeNote(fs::path file, LockedFile lock) : m_file(std::move(file)), m_lock(std::move(lock)) {}

std::unique_ptr<TakeNote> TakeNote::open(const fs::path& file) {
    auto lock = LockedFile::open(file, LockedFile::Sharing::exclusive);
    if (!lock)
        return nullptr;
    const Json state = lastState(file);
    std::unique_ptr<TakeNote> note(new TakeNote(file, std::move(*lock)));
    note->m_take = takeOf(state);
    note->m_recorded = std::chrono::system_clock::from_time_t(static_cast<std::time_t>(numberAt(state, "recorded")));
    return note;
}

bool TakeNote::write(const Take& take) {
    std::lock_guard lock(m_mutex);
    return append(take);
}

bool TakeNote::append(const Take& take) {
    m_take = take;
    if (!m_lock) {
        files::makePrivateDirectory(m_file.parent_path());
        if (auto made = LockedFile::make(m_file))
            m_lock.emplace(std::move(*made));
    }
    // The newline comes first, so that a line that was cut off does not swallow this one.
    return m_lock && m_lock->append("\n" + lineOf(take, m_recorded));
}

void TakeNote::setChunks(const std::vector<fs::path>& chunks) {
    std::lock_guard lock(m_mutex);
    Take take = m_take;
    take.chunks = chunks;
    append(take);
}

Take TakeNote::take() const {
    std::lock_guard lock(m_mutex);
    return m_take;
}

void TakeNote::discard() {
    std::lock_guard lock(m_mutex);
    for (const fs::path& chunk : m_take.chunks)
        files::removeQuietly(chunk);
    if (m_take.isolated)
        files::removeQuietly(*m_take.isolated);
    m_take = {};
    if (m_lock)
        files::removeQuietly(m_file);
    m_lock.reset();
}

bool TakeNote::gather() {
    std::lock_guard lock(m_mutex);
    Take gathered = m_take;
    if (gathered.isolated)
        files::removeQuietly(*gathered.isolated);
    gathered.isolated.reset();
    const fs::path folder = m_file.parent_path();
    files::makePrivateDirectory(folder);
    for (fs::path& chunk : gathered.chunks) {
        if (chunk.parent_path() == folder)
            continue;
        fs::path place = folder / (m_file.stem().string() + "-" + chunk.filename().string());
        if (!bring(chunk, place)) {
            files::removeQuietly(place);
            return false;
        }
        chunk = std::move(place);
    }
    const Take before = m_take;
    if (!append(gathered) || !sync(m_file) || !sync(folder)) {
        m_take = before;
        return false;
    }
    for (const fs::path& chunk : before.chunks)
        if (std::ranges::find(gathered.chunks, chunk) == gathered.chunks.end())
            files::removeQuietly(chunk);
    return true;
}

} // namespace fenlo
