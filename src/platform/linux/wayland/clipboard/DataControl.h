#pragma once

#include "platform/linux/desktop/clipboard/Selections.h"
#include "platform/linux/wayland/clipboard/DataControlConnection.h"
#include "platform/linux/wayland/clipboard/DataOffers.h"
#include "platform/linux/wayland/clipboard/DataSources.h"
#include "platform/linux/wayland/clipboard/PipeTransfers.h"

#include <filesystem>

namespace fenlo {

/// The selections of a Wayland session whose compositor lets programs without a window read and set them, by
/// ext_data_control or its forerunner of wlroots.
class DataControl final : public Selections {
public:
    /// Connects to the compositor that WAYLAND_DISPLAY names. Nothing when there is none, or when it offers neither
    /// protocol. Without a keeper the clipboard ends with its owner.
    static std::unique_ptr<DataControl> open(std::filesystem::path keeper = {});

    int descriptor() const override { return m_pipes.descriptor(); }
    bool isLost() const override { return m_connection->isLost(); }
    void handleArrived() override;
    void flush() override { m_connection->flush(); }
    Moment now() override;
    void offer(Name name, const std::string& text, Stay stay, Moment moment) override;
    bool offerAgain(Name name, const Saved& saved, Moment moment) override;
    void clear(Name name, Moment moment) override;
    bool owns(Name name) const override { return m_sources.current(name) != nullptr; }
    bool lends(Name name) const override;
    Pasteboard::Reading read(Clock::time_point deadline) override;
    std::shared_ptr<const Saved> save(Name name, Clock::time_point deadline) override;
    bool dropStalled(Clock::time_point now) override { return m_pipes.dropStalled(now); }
    /// To the keeper. A password, marked as such by its owner, ends with the program.
    void handOver(Clock::time_point deadline) override;

    /// The keeper's work: takes the clipboard, unless somebody has been quicker, and answers until somebody else takes
    /// it or the compositor ends.
    void serve(DataContents contents);

private:
    DataControl(std::unique_ptr<DataControlConnection> connection, std::filesystem::path keeper);

    bool isOthers(const DataContents& contents);
    bool mayTake(Name name, Moment moment) const;
    bool catchUp(Clock::time_point deadline);
    std::shared_ptr<const PipeArrival> ask(const DataOffer& offer, const std::string& form, Clock::time_point deadline);

    const std::filesystem::path m_keeper;
    const std::unique_ptr<DataControlConnection> m_connection;
    PipeTransfers m_pipes;
    DataSources m_sources;
    DataOffers m_offers;
};

} // namespace fenlo
