#include "ui/onboarding/MicrophoneAdapter.h"

#include <QVariantMap>
#include <algorithm>

namespace fenlo {

MicrophoneAdapter::MicrophoneAdapter(MicrophoneForm& form)
    : m_form(form), m_modeWatch(form.watch([this] { Q_EMIT changed(); })),
      m_deviceWatch(form.devices.watch([this] { Q_EMIT changed(); })),
      m_levelWatch(form.devices.watchLevel([this] { Q_EMIT levelChanged(); })) {}

QVariantList MicrophoneAdapter::choices() {
    QVariantList list;
    for (const auto& choice : MicrophoneForm::choices())
        list << QVariantMap{{"title", QString::fromUtf8(choice.title)}, {"text", QString::fromUtf8(choice.text)}};
    return list;
}

QStringList MicrophoneAdapter::reasons() {
    QStringList list;
    for (const char* reason : MicrophoneForm::reasons())
        list << QString::fromUtf8(reason);
    return list;
}

int MicrophoneAdapter::chosen() const {
    const auto choices = MicrophoneForm::choices();
    const auto found = std::ranges::find(choices, m_form.chosen(), &MicrophoneForm::Choice::mode);
    return found == choices.end() ? -1 : static_cast<int>(found - choices.begin());
}

QVariantList MicrophoneAdapter::devices() const {
    QVariantList list;
    for (const auto& row : m_form.devices.rows())
        list << QVariantMap{{"value", QString::fromStdString(row.key)}, {"label", QString::fromStdString(row.label)}};
    return list;
}

void MicrophoneAdapter::choose(int index) {
    const auto choices = MicrophoneForm::choices();
    if (index >= 0 && static_cast<std::size_t>(index) < choices.size())
        m_form.choose(choices[static_cast<std::size_t>(index)].mode);
}

} // namespace fenlo
