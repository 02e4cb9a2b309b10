#include "platform/linux/wayland/clipboard/DataControl.h"

#include "base/Log.h"
#include "base/Text.h"
#include "platform/linux/desktop/clipboard/ClipboardForms.h"
#include "platform/linux/desktop/clipboard/Latin1.h"
#include "platform/linux/wayland/clipboard/ClipboardKeeper.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace fenlo {

namespace {

using Arrival = std::shared_ptr<const PipeArrival>;

constexpr auto catchUpLimit = std::chrono::seconds(1);
constexpr auto startLimit = std::chrono::milliseconds(500); // for the keeper, beside the time for the hand-over
constexpr auto stallCheck = std::chrono::seconds(2);
constexpr auto idleCheck = std::chrono::hours(1);

/// Old programs of X11 write ISO 8859-1 under some of the names.
std::string decoded(const std::string& bytes) {
    return text::repairUtf8(bytes) == bytes ? bytes : utf8FromLatin1(bytes);
}

/// The best name of plain text among those offered; empty when there is none.
std::string textName(const DataOffer& offer) {
    const auto& names = dataTextNames();
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const auto& each) { return clipboard::contains(offer.forms(), each); });
    return found != names.end() ? *found : "";
}

class SavedData final : public Selections::Saved {
public:
    /// What we know ourselves; by default that there is nothing.
    explicit SavedData(DataContents ours = {}) : m_known(std::move(ours)) {}

    bool wasEmpty() const override { return m_known.isEmpty() && !m_text && m_forms.empty() && !m_wasOffered; }
    bool isSettled() const override {
        return !(m_text && m_text->isOpen()) &&
               std::none_of(m_forms.begin(), m_forms.end(), [](const auto& each) { return each.arrival->isOpen(); });
    }
    /// All that has arrived, 64 MiB at most.
    DataContents contents() const;

    void expect() { m_wasOffered = true; }
    void expectText(Arrival arrival) { m_text = std::move(arrival); }
    void expectForm(const std::string& name, Arrival arrival) { m_forms.push_back({name, std::move(arrival)}); }

private:
    struct Form {
        std::string name;
        Arrival arrival;
    };

    DataContents m_known;
    bool m_wasOffered = false;
    Arrival m_text;
    std::vector<Form> m_forms;
};

DataContents SavedData::contents() const {
    DataContents contents = m_known;
    std::size_t bytes = 0;
    if (m_text && m_text->state == PipeArrival::State::done) {
        contents.text = std::make_shared<const std::string>(decoded(m_text->bytes));
        bytes = m_text->bytes.size();
    }
    for (const auto& [name, arrival] : m_forms) {
        if (arrival->state != PipeArrival::State::done || bytes + arrival->bytes.size() > clipboard::mostBytes)
            continue;
        bytes += arrival->bytes.size();
        contents.forms.push_back({name, std::shared_ptr<const std::string>(arrival, &arrival->bytes)});
    }
    return contents;
}

bool isWorthHandingOver(const DataContents& contents) {
    const bool isPassword = std::any_of(contents.forms.begin(), contents.forms.end(),
                                        [](const auto& each) { return each.name == clipboard::secretName; });
    return !isPassword && ((contents.text && !contents.text->empty()) || !contents.forms.empty());
}

template <typename Names>
std::vector<std::string> listOf(const Names& names) {
    return {std::begin(names), std::end(names)};
}

} // namespace

std::unique_ptr<DataControl> DataControl::open(std::filesystem::path keeper) {
    auto connection = DataControlConnection::open();
    return connection ? std::unique_ptr<DataControl>(new DataControl(std::move(connection), std::move(keeper)))
                      : nullptr;
}

DataControl::DataControl(std::unique_ptr<DataControlConnection> connection, std::filesystem::path keeper)
    : m_keeper(std::move(keeper)), m_connection(std::move(connection)), m_pipes(m_connection->descriptor()),
      m_sources(*m_connection,
                [this](int pipe, std::shared_ptr<const std::string> bytes) { m_pipes.write(pipe, std::move(bytes)); }),
      m_offers(*m_connection) {}

void DataControl::handleArrived() {
    m_connection->handleArrived();
    m_pipes.handleReady();
}

Selections::Moment DataControl::now() {
    catchUp(Clock::now() + catchUpLimit);
    return static_cast<Moment>(m_offers.changes(Name::clipboard)) << 16 | m_offers.changes(Name::primary);
}

bool DataControl::mayTake(Name name, Moment moment) const {
    return m_offers.changes(name) == static_cast<std::uint16_t>(name == Name::clipboard ? moment >> 16 : moment);
}

bool DataControl::catchUp(Clock::time_point deadline) {
    const auto isAnswered = std::make_shared<bool>(false);
    m_connection->sync(isAnswered);
    for (handleArrived(); !*isAnswered && !isLost() && Clock::now() < deadline; handleArrived())
        m_pipes.wait(deadline);
    return *isAnswered;
}

void DataControl::offer(Name name, const std::string& text, Stay stay, Moment moment) {
    if (mayTake(name, moment))
        m_sources.offer(name, {std::make_shared<const std::string>(text), {}}, stay);
}

bool DataControl::offerAgain(Name name, const Saved& saved, Moment moment) {
    DataContents contents = static_cast<const SavedData&>(saved).contents();
    if (contents.isEmpty())
        return false;
    if (mayTake(name, moment))
        m_sources.offer(name, std::move(contents), Stay::lasting);
    return true;
}

void DataControl::clear(Name name, Moment moment) {
    if (mayTake(name, moment))
        m_sources.clear(name);
}

bool DataControl::lends(Name name) const {
    const auto* const source = m_sources.current(name);
    return source && source->stay == Stay::onLoan;
}

Pasteboard::Reading DataControl::read(Clock::time_point deadline) {
    if (!catchUp(deadline))
        return {.text = {}, .isAnswered = false};
    if (const auto* const ours = m_sources.current(Name::clipboard))
        return {.text = ours->contents.text ? std::optional(*ours->contents.text) : std::nullopt};
    const DataOffer* const offer = m_offers.current(Name::clipboard);
    const std::string form = offer ? textName(*offer) : "";
    if (form.empty())
        return {};
    const Arrival arrival = ask(*offer, form, deadline);
    if (arrival->isOpen())
        return {.text = {}, .isAnswered = false};
    return arrival->state == PipeArrival::State::done ? Pasteboard::Reading{.text = decoded(arrival->bytes)}
                                                      : Pasteboard::Reading{};
}

std::shared_ptr<const Selections::Saved> DataControl::save(Name name, Clock::time_point deadline) {
    catchUp(deadline);
    if (const auto* const ours = m_sources.current(name))
        return std::make_shared<const SavedData>(ours->contents);
    const auto saved = std::make_shared<SavedData>();
    // Another owner may come during the waits below, and ends this offer; it then has no more to tell.
    const auto change = m_offers.changes(name);
    const auto offer = [&] { return m_offers.changes(name) == change ? m_offers.current(name) : nullptr; };
    if (!offer())
        return saved;
    saved->expect();
    if (const std::string form = textName(*offer()); !form.empty())
        saved->expectText(ask(*offer(), form, deadline));
    const auto usual = listOf(clipboard::usualNames);
    const auto forms =
        offer() ? clipboard::worthKeeping(offer()->forms(), usual, dataTextNames(), listOf(clipboard::otherNames))
                : std::vector<std::string>();
    for (const std::string& form : forms)
        if (offer() && (Clock::now() < deadline || clipboard::contains(usual, form)))
            saved->expectForm(form, ask(*offer(), form, deadline));
    return saved;
}

void DataControl::handOver(Clock::time_point deadline) {
    const auto* const ours = m_sources.current(Name::clipboard);
    if (m_keeper.empty() || isLost() || !ours || ours->stay == Stay::onLoan || !isWorthHandingOver(ours->contents))
        return;
    if (!startClipboardKeeper(m_keeper, ours->contents))
        return logError("The clipboard ends with Fenlo: {} cannot be started", m_keeper.string());
    const auto started = deadline + startLimit;
    for (handleArrived(); owns(Name::clipboard) && !isLost() && Clock::now() < started; handleArrived())
        m_pipes.wait(started);
}

void DataControl::serve(DataContents contents) {
    catchUp(Clock::now() + catchUpLimit);
    if (isOthers(contents))
        return;
    m_sources.offer(Name::clipboard, std::move(contents), Stay::lasting);
    for (bool isWriting = false; !isLost() && (isWriting || owns(Name::clipboard)); handleArrived()) {
        m_pipes.wait(Clock::now() + (isWriting ? stallCheck : idleCheck));
        isWriting = m_pipes.dropStalled(Clock::now());
    }
}

/// Between the program's word and its keeper's first breath somebody may have copied. The program still answers.
bool DataControl::isOthers(const DataContents& contents) {
    std::vector<std::string> forms = contents.text ? dataTextNames() : std::vector<std::string>();
    for (const DataContents::Form& each : contents.forms)
        forms.push_back(each.name);
    const DataOffer* const offer = m_offers.current(Name::clipboard);
    std::vector<std::string> offered = offer ? offer->forms() : forms;
    std::sort(forms.begin(), forms.end());
    std::sort(offered.begin(), offered.end());
    if (forms != offered)
        return true;
    const auto text = offer && contents.text ? read(Clock::now() + catchUpLimit).text : std::nullopt;
    // No text comes from a program that has ended meanwhile.
    return text && !text->empty() && *text != *contents.text;
}

std::shared_ptr<const PipeArrival> DataControl::ask(const DataOffer& offer, const std::string& form,
                                                    Clock::time_point deadline) {
    int ends[2]; // to read from, to write to
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return std::make_shared<const PipeArrival>(PipeArrival{PipeArrival::State::failed, {}});
    auto arrival = m_pipes.read(ends[0]);
    offer.receive(form, ends[1]);
    m_connection->flush();
    // Sent with the request; only the owner's copy keeps the pipe open from here on.
    ::close(ends[1]);
    for (handleArrived(); arrival->isOpen() && !isLost() && Clock::now() < deadline; handleArrived())
        m_pipes.wait(deadline);
    return arrival;
}

} // namespace fenlo
