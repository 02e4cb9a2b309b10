#include "ui/BusMenu.h"

#include "ui/BusStructure.h"
#include "ui/GuardedCall.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace fenlo {

namespace {

constexpr int rootId = 0;

/// An underscore would make the next letter an access key.
QString label(const std::string& title) {
    return QString::fromStdString(title).replace(QLatin1Char('_'), QLatin1String("__"));
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const BusMenuLayout& layout) {
    out.beginStructure();
    out << layout.id << layout.properties;
    out.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const BusMenuLayout& child : layout.children)
        out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, BusMenuLayout& layout) {
    in.beginStructure();
    in >> layout.id >> layout.properties;
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant child;
        in >> child;
        layout.children.append(qdbus_cast<BusMenuLayout>(child.variant()));
    }
    in.endArray();
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const BusMenuItem& item) {
    return writeStructure(out, item.id, item.properties);
}

const QDBusArgument& operator>>(const QDBusArgument& in, BusMenuItem& item) {
    return readStructure(in, item.id, item.properties);
}

QDBusArgument& operator<<(QDBusArgument& out, const BusMenuEvent& event) {
    return writeStructure(out, event.id, event.name, event.data, event.timestamp);
}

const QDBusArgument& operator>>(const QDBusArgument& in, BusMenuEvent& event) {
    return readStructure(in, event.id, event.name, event.data, event.timestamp);
}

BusMenu::BusMenu() {
    qDBusRegisterMetaType<BusMenuLayout>();
    qDBusRegisterMetaType<BusMenuItem>();
    qDBusRegisterMetaType<QList<BusMenuItem>>();
    qDBusRegisterMetaType<BusMenuEvent>();
    qDBusRegisterMetaType<QList<BusMenuEvent>>();
}

void BusMenu::setItems(std::vector<MenuItem> items) {
    m_firstId += static_cast<int>(m_items.size());
    m_items = std::move(items);
    Q_EMIT LayoutUpdated(++m_revision, rootId);
}

const MenuItem* BusMenu::find(int id) const {
    const auto index = static_cast<std::size_t>(id - m_firstId);
    return id >= m_firstId && index < m_items.size() ? &m_items[index] : nullptr;
}

QVariantMap BusMenu::properties(int id) const {
    if (id == rootId)
        return {{"children-display", "submenu"}};
    const MenuItem* const item = find(id);
    if (!item)
        return {};
    if (item->isSeparator)
        return {{"type", "separator"}};
    return {{"label", label(item->title)}, {"enabled", static_cast<bool>(item->action)}};
}

uint BusMenu::GetLayout(int parentId, int depth, const QStringList&, BusMenuLayout& layout) const {
    layout = {parentId, properties(parentId), {}};
    if (parentId == rootId && depth != 0)
        for (int i = 0; i < static_cast<int>(m_items.size()); ++i)
            layout.children.append({m_firstId + i, properties(m_firstId + i), {}});
    return m_revision;
}

QList<BusMenuItem> BusMenu::GetGroupProperties(const QList<int>& ids, const QStringList&) const {
    QList<BusMenuItem> found;
    for (const int id : ids)
        if (id == rootId || find(id))
            found.append({id, properties(id)});
    return found;
}

QDBusVariant BusMenu::GetProperty(int id, const QString& name) const {
    return QDBusVariant(properties(id).value(name, QString()));
}

void BusMenu::Event(int id, const QString& name, const QDBusVariant&, uint) {
    const MenuItem* const item = find(id);
    if (item && name == QLatin1String("clicked"))
        callGuarded(item->action);
}

QList<int> BusMenu::EventGroup(const QList<BusMenuEvent>& events) {
    QList<int> unknown;
    for (const BusMenuEvent& event : events) {
        if (event.id != rootId && !find(event.id))
            unknown.append(event.id);
        Event(event.id, event.name, event.data, event.timestamp);
    }
    return unknown;
}

// The menu is always up to date.

bool BusMenu::AboutToShow(int) const {
    return false;
}

QList<int> BusMenu::AboutToShowGroup(const QList<int>&, QList<int>& unknownIds) const {
    unknownIds.clear();
    return {};
}

} // namespace fenlo
