#pragma once

#include "meeting/MeetingTab.h"

#include <QAbstractListModel>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <vector>

namespace fenlo {

/// Meetings of the archive for a list.
class PastMeetingList final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the home window")
    Q_PROPERTY(int count READ count NOTIFY counted)

public:
    using Choice = std::function<std::vector<const PastMeeting*>()>;

    /// Shows those that `choice` gives, whenever the archive or the search changes.
    PastMeetingList(MeetingModeController& controller, Choice choice);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_rows.size()); }
    /// Of the meeting with this file name; -1 when it is not among them.
    Q_INVOKABLE int rowOf(const QString& id) const;

Q_SIGNALS:
    void counted();

private:
    struct Row {
        QString id, title, details, snippet;
        bool operator==(const Row&) const = default;
    };

    std::vector<Row> chosen() const;
    void follow();

    const MeetingModeController& m_controller;
    const Choice m_choice;
    std::vector<Row> m_rows;
    Changes::Watch m_watch;
};

} // namespace fenlo
