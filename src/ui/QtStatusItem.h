#pragma once

#include "platform/StatusItem.h"

#include <memory>

namespace fenlo {

/// The icon in the panel: a StatusNotifier item where the session bus has a host for those, else an icon in the
/// X11 system tray. Follows panels that come, go or change while the program runs.
class QtStatusItem final : public StatusItem {
public:
    QtStatusItem();
    ~QtStatusItem() override;

    void setFace(IconFace face) override;
    void setMenu(std::vector<MenuItem> items) override;
    /// Whether a panel shows it.
    bool isShown() const;

private:
    class Private;
    std::unique_ptr<Private> m_private;
};

} // namespace fenlo
