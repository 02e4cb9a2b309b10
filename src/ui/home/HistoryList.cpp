#include "ui/home/HistoryList.h"

#include "ui/parts/SaveDialog.h"

namespace fenlo {

namespace {

enum Role { when = Qt::UserRole + 1, words, speed, length, entryText, more, isCopied };

QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

QString filterOf(const QString& ending) {
    if (ending == "csv")
        return "Table (*.csv)";
    return ending == "json" ? "JSON (*.json)" : "Text (*.txt)";
}

} // namespace

HistoryList::HistoryList(HistoryModel& model) : m_model(model), m_count(static_cast<int>(model.rowCount())) {
    m_model.setOnRows([this](const HistoryModel::RowEdit& edit) { follow(edit); });
    m_watch = m_model.watch([this] { Q_EMIT changed(); });
}

HistoryList::~HistoryList() {
    m_model.setOnRows({});
    m_model.close();
}

/// The model has the new rows already; the list learns of them one edit at a time.
void HistoryList::follow(const HistoryModel::RowEdit& edit) {
    const auto first = static_cast<int>(edit.first);
    const auto count = static_cast<int>(edit.count);
    switch (edit.kind) {
    case HistoryModel::RowEdit::Kind::inserted:
        beginInsertRows({}, first, first + count - 1);
        m_count += count;
        endInsertRows();
        if (first == 0) {
            ++m_arrivals;
            Q_EMIT arrived();
        }
        break;
    case HistoryModel::RowEdit::Kind::removed:
        beginRemoveRows({}, first, first + count - 1);
        m_count -= count;
        endRemoveRows();
        break;
    case HistoryModel::RowEdit::Kind::updated:
        Q_EMIT dataChanged(index(first), index(first + count - 1));
        break;
    case HistoryModel::RowEdit::Kind::reset:
        beginResetModel();
        m_count = count;
        endResetModel();
        break;
    case HistoryModel::RowEdit::Kind::none:
        break;
    }
}

int HistoryList::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_count;
}

QVariant HistoryList::data(const QModelIndex& index, int role) const {
    const auto number = static_cast<std::size_t>(index.row());
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || number >= m_model.rowCount())
        return {};
    const HistoryModel::Row row = m_model.row(number);
    switch (role) {
    case when:
        return shown(row.when);
    case words:
        return shown(row.words);
    case speed:
        return shown(row.speed);
    case length:
        return shown(row.length);
    case entryText:
        return shown(row.text);
    case more:
        return shown(row.more);
    case isCopied:
        return row.isCopied;
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryList::roleNames() const {
    return {{when, "when"},           {words, "words"}, {speed, "speed"},      {length, "length"},
            {entryText, "entryText"}, {more, "more"},   {isCopied, "isCopied"}};
}

HistoryList::State HistoryList::state() const {
    switch (m_model.state()) {
    case HistoryModel::State::loading:
        return State::Loading;
    case HistoryModel::State::empty:
        return State::Empty;
    case HistoryModel::State::noMatch:
        return State::NoMatch;
    case HistoryModel::State::failed:
        return State::Failed;
    case HistoryModel::State::ready:
        break;
    }
    return State::Ready;
}

QString HistoryList::countText() const {
    return shown(m_model.countText());
}

QString HistoryList::emptyTitle() const {
    return shown(m_model.emptyTitle());
}

QString HistoryList::emptyText() const {
    return shown(m_model.emptyText());
}

QString HistoryList::query() const {
    return shown(m_model.query());
}

void HistoryList::setQuery(const QString& query) {
    m_model.search(query.toStdString());
}

QString HistoryList::noticeKind() const {
    switch (m_model.notice().kind) {
    case HistoryModel::Notice::Kind::good:
        return "good";
    case HistoryModel::Notice::Kind::error:
        return "error";
    default:
        return "info";
    }
}

QString HistoryList::noticeText() const {
    return shown(m_model.notice().text);
}

QString HistoryList::noticeAction() const {
    return shown(m_model.noticeAction());
}

QString HistoryList::deleteAllTitle() const {
    return shown(m_model.removeAllTitle());
}

QString HistoryList::deleteAllText() const {
    return shown(m_model.removeAllText());
}

QString HistoryList::deleteAllVerb() const {
    return shown(m_model.removeAllVerb());
}

void HistoryList::copy(int row) {
    if (has(row))
        m_model.copy(static_cast<std::size_t>(row));
}

void HistoryList::toggle(int row) {
    if (has(row))
        m_model.toggle(static_cast<std::size_t>(row));
}

void HistoryList::remove(int row) {
    if (has(row))
        m_model.remove(static_cast<std::size_t>(row));
}

void HistoryList::answerNotice() {
    m_model.answerNotice();
}

void HistoryList::exportAs(const QString& ending, QWindow* above) {
    askWhereToSave({"Export the History", filterOf(ending), ending, shown(m_model.exportName(ending.toStdString()))},
                   above, this, [this](const std::string& file) { m_model.exportTo(file); });
}

} // namespace fenlo
