#include "ui/parts/MicrophoneChoice.h"

#include "ui/parts/NoteText.h"

#include <QVariantMap>

namespace fenlo {

MicrophoneChoice::MicrophoneChoice(MicrophoneModel& model)
    : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })),
      m_levelWatch(model.watchLevel([this] { Q_EMIT heard(); })) {}

QVariantList MicrophoneChoice::options() const {
    QVariantList options;
    for (const MicrophoneModel::Row& row : m_model.rows())
        options.append(QVariantMap{{QStringLiteral("value"), QString::fromStdString(row.key)},
                                   {QStringLiteral("label"), QString::fromStdString(row.label)}});
    return options;
}

QString MicrophoneChoice::note() const {
    return textOf(m_model.note());
}

QString MicrophoneChoice::noteKind() const {
    return kindOf(m_model.note());
}

void MicrophoneChoice::listen(bool on) {
    if (on)
        m_listening = m_model.listen();
    else
        m_listening.reset();
}

} // namespace fenlo
