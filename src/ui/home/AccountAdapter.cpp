#include "ui/home/AccountAdapter.h"

namespace fenlo {

AccountAdapter::AccountAdapter(AccountModel& model)
    : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

} // namespace fenlo
