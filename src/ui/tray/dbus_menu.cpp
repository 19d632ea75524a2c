#include "ui/tray/dbus_menu.hpp"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QTimer>

namespace vantorel {

/// A line and, down to the depth asked for, the lines below it.
struct DBusMenuLayout {
  int id = 0;
  QVariantMap properties;
  QVariantList children;
};

struct DBusMenuProperties {
  int id = 0;
  QVariantMap properties;
};

// The toolkit finds these by argument-dependent look-up; it asks for the reading ones too, though
// nothing is ever read here.
static QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& layout) {
  argument.beginStructure();
  argument << layout.id << layout.properties << layout.children;
  argument.endStructure();
  return argument;
}
static const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout& layout) {
  argument.beginStructure();
  argument >> layout.id >> layout.properties >> layout.children;
  argument.endStructure();
  return argument;  // NOLINT(bugprone-return-const-ref-from-parameter): the toolkit's form
}
static QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuProperties& line) {
  argument.beginStructure();
  argument << line.id << line.properties;
  argument.endStructure();
  return argument;
}
static const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuProperties& line) {
  argument.beginStructure();
  argument >> line.id >> line.properties;
  argument.endStructure();
  return argument;  // NOLINT(bugprone-return-const-ref-from-parameter): the toolkit's form
}

}  // namespace vantorel

Q_DECLARE_METATYPE(vantorel::DBusMenuLayout)
Q_DECLARE_METATYPE(vantorel::DBusMenuProperties)

namespace vantorel {
namespace {

constexpr const char* menuInterface = "com.canonical.dbusmenu";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

void registerTypes() {
  static const bool once = [] {
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuProperties>();
    qDBusRegisterMetaType<QList<DBusMenuProperties>>();
    qDBusRegisterMetaType<QList<QStringList>>();
    qDBusRegisterMetaType<QList<int>>();
    return true;
  }();
  static_cast<void>(once);
}

/// "Control+Shift+F3" as the protocol spells it: one chord, the modifiers by their X names.
QList<QStringList> chordOf(const std::string& shortcut) {
  QStringList chord;
  for (QString part : QString::fromStdString(shortcut).split(u'+', Qt::SkipEmptyParts)) {
    if (part == QLatin1String("Option")) part = QStringLiteral("Alt");
    if (part == QLatin1String("Command")) part = QStringLiteral("Super");
    if (part == QLatin1String("Ctrl")) part = QStringLiteral("Control");
    chord.push_back(part);
  }
  return {chord};
}

/// What differs from the protocol's defaults.
QVariantMap propertiesOf(const StatusMenuTree::Node& node, const QStringList& wanted) {
  QVariantMap all;
  const StatusMenuItem& item = node.item;
  if (node.id == StatusMenuTree::rootID || item.kind == StatusMenuItem::Kind::submenu) {
    all.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
  }
  if (item.kind == StatusMenuItem::Kind::separator) {
    all.insert(QStringLiteral("type"), QStringLiteral("separator"));
  } else if (node.id != StatusMenuTree::rootID) {
    // An underscore would underline the next letter.
    all.insert(QStringLiteral("label"),
               QString::fromStdString(item.label).replace(u'_', QStringLiteral("__")));
    if (!item.isEnabled) all.insert(QStringLiteral("enabled"), false);
    if (!item.shortcut.empty()) {
      all.insert(QStringLiteral("shortcut"), QVariant::fromValue(chordOf(item.shortcut)));
    }
    if (item.isChoice) {
      all.insert(QStringLiteral("toggle-type"), QStringLiteral("radio"));
      all.insert(QStringLiteral("toggle-state"), item.isChecked ? 1 : 0);
    }
  }
  if (wanted.isEmpty()) return all;
  QVariantMap some;
  for (const QString& name : wanted) {
    if (all.contains(name)) some.insert(name, all.value(name));
  }
  return some;
}

DBusMenuLayout layoutOf(const StatusMenuTree& tree, const StatusMenuTree::Node& node, int depth,
                        const QStringList& wanted) {
  DBusMenuLayout layout{node.id, propertiesOf(node, wanted), {}};
  if (depth == 0) return layout;
  for (const int child : node.children) {
    layout.children.push_back(
        QVariant::fromValue(layoutOf(tree, *tree.find(child), depth - 1, wanted)));
  }
  return layout;
}

QVariantMap ownProperties() {
  return {{QStringLiteral("Version"), 3u},
          {QStringLiteral("TextDirection"), QStringLiteral("ltr")},
          {QStringLiteral("Status"), QStringLiteral("normal")},
          {QStringLiteral("IconThemePath"), QStringList()}};
}

}  // namespace

void DBusMenu::setSource(std::function<std::vector<StatusMenuItem>()> source) {
  tree_.setSource(std::move(source));
  if (tree_.revision() > 0) menuChanged();
}

void DBusMenu::menuChanged() {
  // Nobody has read the menu yet: it is built when somebody does.
  if (tree_.revision() > 0 && tree_.refresh()) announceLayout();
}

void DBusMenu::announceLayout() {
  auto signal = QDBusMessage::createSignal(QLatin1String(path), QLatin1String(menuInterface),
                                           QStringLiteral("LayoutUpdated"));
  signal << tree_.revision() << StatusMenuTree::rootID;
  bus_.send(signal);
}

bool DBusMenu::answer(const QDBusMessage& call, const QVariantList& values) {
  if (call.isReplyRequired()) bus_.send(call.createReply(values));
  return true;
}

/// The action runs when the panel has its answer, so that a slow one does not hold up the panel.
void DBusMenu::handleEvent(int id, const QString& name) {
  if (name != QLatin1String("clicked")) return;
  const auto* const node = tree_.find(id);
  if (node == nullptr || !node->item.isEnabled || !node->item.perform) return;
  QTimer::singleShot(0, this, node->item.perform);
}

bool DBusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
  registerTypes();
  const QString member = message.member();
  const QVariantList arguments = message.arguments();
  const auto number = [&](qsizetype index) { return arguments.value(index).toInt(); };
  const auto refused = [&] {
    bus_.send(message.createErrorReply(QDBusError::InvalidArgs,
                                       QStringLiteral("no such line or property")));
    return true;
  };

  if (message.interface() == QLatin1String(propertiesInterface)) {
    const QVariantMap own = ownProperties();
    if (member == QLatin1String("GetAll")) return answer(message, {own});
    const QString name = arguments.value(1).toString();
    if (member != QLatin1String("Get") || !own.contains(name)) return refused();
    return answer(message, {QVariant::fromValue(QDBusVariant(own.value(name)))});
  }
  if (!message.interface().isEmpty() && message.interface() != QLatin1String(menuInterface)) {
    return false;
  }

  if (tree_.revision() == 0) tree_.refresh();
  if (member == QLatin1String("GetLayout")) {
    const auto* const node = tree_.find(number(0));
    if (node == nullptr) return refused();
    const auto layout = layoutOf(tree_, *node, number(1), arguments.value(2).toStringList());
    return answer(message, {tree_.revision(), QVariant::fromValue(layout)});
  }
  if (member == QLatin1String("GetGroupProperties")) {
    QList<DBusMenuProperties> lines;
    for (const int id : qdbus_cast<QList<int>>(arguments.value(0))) {
      if (const auto* const node = tree_.find(id)) {
        lines.push_back({id, propertiesOf(*node, arguments.value(1).toStringList())});
      }
    }
    return answer(message, {QVariant::fromValue(lines)});
  }
  if (member == QLatin1String("GetProperty")) {
    const auto* const node = tree_.find(number(0));
    const QString name = arguments.value(1).toString();
    const QVariantMap found = node != nullptr ? propertiesOf(*node, {name}) : QVariantMap();
    if (found.isEmpty()) return refused();
    return answer(message, {QVariant::fromValue(QDBusVariant(found.first()))});
  }
  if (member == QLatin1String("Event")) {
    if (tree_.find(number(0)) == nullptr) return refused();
    handleEvent(number(0), arguments.value(1).toString());
    return answer(message, {});
  }
  if (member == QLatin1String("EventGroup")) {
    QList<int> unknown;
    const auto events = qvariant_cast<QDBusArgument>(arguments.value(0));
    for (events.beginArray(); !events.atEnd();) {
      int id = 0;
      QString name;
      QDBusVariant data;
      uint time = 0;
      events.beginStructure();
      events >> id >> name >> data >> time;
      events.endStructure();
      if (tree_.find(id) == nullptr) unknown.push_back(id);
      handleEvent(id, name);
    }
    return answer(message, {QVariant::fromValue(unknown)});
  }
  if (member == QLatin1String("AboutToShow")) {
    const bool changed = tree_.refresh();
    return answer(message, {changed});
  }
  if (member == QLatin1String("AboutToShowGroup")) {
    const auto ids = qdbus_cast<QList<int>>(arguments.value(0));
    const bool changed = tree_.refresh();
    return answer(message, {QVariant::fromValue(changed ? ids : QList<int>()),
                            QVariant::fromValue(QList<int>())});
  }
  return false;
}

QString DBusMenu::introspect(const QString&) const {
  return QStringLiteral(R"xml(<interface name="com.canonical.dbusmenu">
<property name="Version" type="u" access="read"/>
<property name="TextDirection" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="IconThemePath" type="as" access="read"/>
<method name="GetLayout">
<arg type="i" direction="in"/><arg type="i" direction="in"/><arg type="as" direction="in"/>
<arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/>
</method>
<method name="GetGroupProperties">
<arg type="ai" direction="in"/><arg type="as" direction="in"/>
<arg type="a(ia{sv})" direction="out"/>
</method>
<method name="GetProperty">
<arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
</method>
<method name="Event">
<arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="in"/>
<arg type="u" direction="in"/>
</method>
<method name="EventGroup">
<arg type="a(isvu)" direction="in"/><arg type="ai" direction="out"/>
</method>
<method name="AboutToShow">
<arg type="i" direction="in"/><arg type="b" direction="out"/>
</method>
<method name="AboutToShowGroup">
<arg type="ai" direction="in"/><arg type="ai" direction="out"/><arg type="ai" direction="out"/>
</method>
<signal name="LayoutUpdated"><arg type="u"/><arg type="i"/></signal>
<signal name="ItemsPropertiesUpdated"><arg type="a(ia{sv})"/><arg type="a(ias)"/></signal>
</interface>
)xml");
}

}  // namespace vantorel
