#include "ui/onboarding/ProfessionAdapter.h"

#include <QVariantMap>

namespace fenlo {

namespace {

QVariantList listOf(const std::vector<ProfessionForm::Option>& options) {
    QVariantList list;
    for (const auto& option : options)
        list << QVariantMap{{"key", QString::fromStdString(option.key)},
                            {"label", QString::fromStdString(option.label)},
                            {"isChosen", option.isChosen}};
    return list;
}

} // namespace

ProfessionAdapter::ProfessionAdapter(ProfessionForm& form)
    : m_form(form), m_watch(form.watch([this] { Q_EMIT changed(); })) {}

QVariantList ProfessionAdapter::professions() const {
    return listOf(m_form.professions());
}

QVariantList ProfessionAdapter::questions() const {
    QVariantList list;
    for (const auto& question : m_form.questions())
        list << QVariantMap{{"topic", static_cast<int>(question.topic)},
                            {"text", QString::fromStdString(question.text)},
                            {"takesSeveral", question.takesSeveral},
                            {"options", listOf(question.options)}};
    return list;
}

void ProfessionAdapter::toggle(int topic, const QString& key) {
    m_form.toggle(static_cast<ProfessionForm::Topic>(topic), key.toStdString());
}

void ProfessionAdapter::setPersonal(bool isPersonal) {
    m_form.setMode(isPersonal ? DictationMode::personal : DictationMode::work);
}

} // namespace fenlo
