#include <gmock/gmock.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <cstring>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

/// One line of a menu as a panel reads it.
struct Line {
  int id = 0;
  QVariantMap properties;
  std::vector<Line> children;

  [[nodiscard]] std::string label() const {
    return properties.value(QStringLiteral("label")).toString().toStdString();
  }
  [[nodiscard]] const Line* find(const std::string& wanted) const {
    for (const Line& child : children) {
      if (child.label() == wanted) return &child;
      if (const Line* const found = child.find(wanted)) return found;
    }
    return nullptr;
  }
};

Line readLine(const QDBusArgument& argument) {
  Line line;
  QVariantList children;
  argument.beginStructure();
  argument >> line.id >> line.properties;
  argument.beginArray();
  while (!argument.atEnd()) {
    QDBusVariant child;
    argument >> child;
    children.push_back(child.variant());
  }
  argument.endArray();
  argument.endStructure();
  for (const QVariant& child : children) {
    line.children.push_back(readLine(child.value<QDBusArgument>()));
  }
  return line;
}

/// A panel with a tray: the watcher and the host in one, on a bus connection of its own.
class TestTray : public QDBusVirtualObject {
 public:
  explicit TestTray(const std::string& busAddress)
      : bus_(QDBusConnection::connectToBus(QString::fromStdString(busAddress),
                                           QStringLiteral("test-tray"))) {
    bus_.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
    EXPECT_TRUE(bus_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")));
  }
  ~TestTray() override {
    bus_.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    QDBusConnection::disconnectFromBus(QStringLiteral("test-tray"));
  }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    if (message.member() == QLatin1String("RegisterStatusNotifierItem")) {
      items.push_back(message.arguments().value(0).toString());
      return connection.send(message.createReply());
    }
    return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(QVariant(true)))));
  }
  [[nodiscard]] QString introspect(const QString&) const override { return {}; }

  QDBusPendingCall call(const char* path, const char* interface, const char* member,
                        const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(items.back(), QLatin1String(path),
                                                  QLatin1String(interface), QLatin1String(member));
    message.setArguments(arguments);
    return bus_.asyncCall(message);
  }

  std::vector<QString> items;

 private:
  QDBusConnection bus_;
};

class StatusItemTest : public UiTestCase {
 protected:
  void startWithMenu() {
    startUi();
    ui->statusItem().setMenu([this] { return menu; }, [this] { did.emplace_back("activated"); });
    ui->statusItem().setVisible(true);
  }

  StatusMenuItem action(const std::string& label, const std::string& shortcut = {}) {
    StatusMenuItem item;
    item.label = label;
    item.shortcut = shortcut;
    item.perform = [this, label] { did.push_back(label); };
    return item;
  }

  StatusMenuItem checked(const std::string& label, bool isChecked) {
    StatusMenuItem item = action(label);
    item.isChoice = true;
    item.isChecked = isChecked;
    return item;
  }

  static StatusMenuItem disabled(StatusMenuItem item) {
    item.isEnabled = false;
    return item;
  }

  static StatusMenuItem submenu(const std::string& label, std::vector<StatusMenuItem> items) {
    StatusMenuItem item;
    item.kind = StatusMenuItem::Kind::submenu;
    item.label = label;
    item.items = std::move(items);
    return item;
  }

  static StatusMenuItem separator() {
    StatusMenuItem item;
    item.kind = StatusMenuItem::Kind::separator;
    return item;
  }

  QVariantList ask(const char* path, const char* interface, const char* member,
                   const QVariantList& arguments) {
    QDBusPendingCallWatcher call(tray->call(path, interface, member, arguments));
    EXPECT_TRUE(waitFor([&] { return call.isFinished(); }));
    EXPECT_FALSE(call.isError()) << member << call.error().message().toStdString();
    return call.reply().arguments();
  }

  QVariantList askMenu(const char* member, const QVariantList& arguments) {
    return ask("/MenuBar", "com.canonical.dbusmenu", member, arguments);
  }

  QVariant property(const char* name) {
    return ask("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
               {QStringLiteral("org.kde.StatusNotifierItem"), QLatin1String(name)})
        .value(0)
        .value<QDBusVariant>()
        .variant();
  }

  Line readMenu() {
    const auto answer = askMenu("GetLayout", {0, -1, QStringList()});
    return readLine(answer.value(1).value<QDBusArgument>());
  }

  void clickLine(int id) {
    askMenu("Event",
            {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QVariant(0))), 0u});
    settle();
  }

  bool becomesHosted(bool hosted) {
    return waitFor([&] { return ui->statusItem().isHosted() == hosted; });
  }

  std::vector<StatusMenuItem> menu;
  std::vector<std::string> did;
  std::unique_ptr<TestTray> tray;
};

TEST_F(StatusItemTest, PanelReadsAndClicksTheExportedMenu) {
  startDesktop({.bus = true});
  tray = std::make_unique<TestTray>(desktop->busAddress());
  menu = {action("Capture Area", "Control+Shift+Print"), disabled(action("Record")), separator(),
          submenu("Delay", {checked("None", true), checked("3_seconds & more", false)}),
          action("Quit")};
  startWithMenu();
  ASSERT_TRUE(becomesHosted(true));
  EXPECT_EQ(property("Id").toString(), QStringLiteral("vantorel"));
  EXPECT_EQ(property("Menu").value<QDBusObjectPath>().path(), QStringLiteral("/MenuBar"));

  const auto pictures = property("IconPixmap").value<QDBusArgument>();
  std::vector<int> sides;
  for (pictures.beginArray(); !pictures.atEnd();) {
    int width = 0;
    int height = 0;
    QByteArray pixels;
    pictures.beginStructure();
    pictures >> width >> height >> pixels;
    pictures.endStructure();
    sides.push_back(width);
    ASSERT_EQ(pixels.size(), width * height * 4);
    const auto pixel = [&](int across, int down) {
      return pixels.mid((qsizetype{height} * down / 16 * width + width * across / 16) * 4, 4);
    };
    for (const auto& [across, down] : {std::pair(2, 2), {14, 2}, {14, 14}, {2, 14}, {8, 10}}) {
      EXPECT_EQ(pixel(across, down), QByteArray("\xff\x7d\x82\x8c")) << "alpha comes first";
    }
    for (const auto& [across, down] : {std::pair(8, 2), {2, 8}, {8, 4}}) {
      EXPECT_EQ(pixel(across, down)[0], 0);
    }
  }
  EXPECT_THAT(sides, ElementsAre(16, 22, 24, 32, 48, 64));

  const Line before = readMenu();
  ASSERT_THAT(before.children, SizeIs(5));
  const Line* const area = before.find("Capture Area");
  ASSERT_NE(area, nullptr);
  EXPECT_EQ(before.find("Record")->properties.value(QStringLiteral("enabled")), QVariant(false));
  EXPECT_EQ(before.children[2].properties.value(QStringLiteral("type")).toString(),
            QStringLiteral("separator"));
  EXPECT_EQ(before.find("None")->properties.value(QStringLiteral("toggle-state")), QVariant(1));
  ASSERT_NE(before.find("3__seconds & more"), nullptr) << "an underscore marks a key in the label";
  clickLine(area->id);
  clickLine(before.find("Record")->id);
  clickLine(before.find("3__seconds & more")->id);
  EXPECT_THAT(did, ElementsAre("Capture Area", "3_seconds & more"));

  // The menu changes while the panel still shows the old one.
  did.clear();
  menu.insert(menu.begin(), action("Resume"));
  EXPECT_EQ(askMenu("AboutToShow", {0}), QVariantList{true});
  EXPECT_EQ(askMenu("AboutToShow", {0}), QVariantList{false});
  clickLine(area->id);
  clickLine(before.find("Quit")->id);
  EXPECT_THAT(did, ElementsAre("Capture Area", "Quit")) << "what the user saw is what happens";
  const Line after = readMenu();
  EXPECT_THAT(after.children, SizeIs(6));
  menu[1].shortcut.clear();
  askMenu("AboutToShow", {0});
  const Line without = readMenu();
  EXPECT_NE(without.find("Capture Area")->id, area->id)
      << "a panel keeps a line's key as long as the line";
  EXPECT_EQ(without.find("Quit")->id, after.find("Quit")->id);

  ask("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", {1, 1});
  settle();
  EXPECT_EQ(did.back(), "activated");
}

TEST_F(StatusItemTest, TraysComeAndGoLater) {
  startDesktop({.bus = true});
  menu = {action("Quit")};
  startWithMenu();
  settle();
  EXPECT_FALSE(ui->statusItem().isHosted());
  ui->statusItem().menuChanged();
  std::vector<bool> hosts;
  const Observation watching =
      ui->statusItem().observeHost([&] { hosts.push_back(ui->statusItem().isHosted()); });
  for (int round = 0; round < 2; ++round) {
    tray = std::make_unique<TestTray>(desktop->busAddress());
    ASSERT_TRUE(becomesHosted(true)) << round;
    EXPECT_THAT(readMenu().children, SizeIs(1));
    tray.reset();
    ASSERT_TRUE(becomesHosted(false)) << round;
  }
  EXPECT_THAT(hosts, ElementsAre(true, false, true, false));
  ui->statusItem().setVisible(false);
}

/// A tray of the old kind: icons are windows that it embeds.
class EmbeddingTray {
 public:
  explicit EmbeddingTray(TestClient& client)
      : client_(client),
        connection_(client.connection()),
        window_(client.open({.area = {1000, 0, 200, 40}, .overrideRedirect = true})) {}

  void announce() {
    xcb_set_selection_owner(connection_, window_, client_.atom("_NET_SYSTEM_TRAY_S0"),
                            XCB_CURRENT_TIME);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = root();
    event.type = client_.atom("MANAGER");
    event.data.data32[1] = client_.atom("_NET_SYSTEM_TRAY_S0");
    event.data.data32[2] = window_;
    xcb_send_event(connection_, 0, root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    client_.sync();
  }

  /// Takes the icon in, a window with that title.
  void embed(xcb_window_t icon) {
    const std::uint32_t side[] = {32, 32};
    xcb_reparent_window(connection_, icon, window_, 4, 4);
    xcb_configure_window(connection_, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                         side);
    xcb_map_window(connection_, icon);
    client_.sync();
  }

  [[nodiscard]] xcb_window_t root() const {
    return xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  }

 private:
  TestClient& client_;
  xcb_connection_t* connection_;
  xcb_window_t window_;
};

/// The icon's window: the toolkit's only one with the embedding protocol's property.
xcb_window_t findIcon(TestClient& client, xcb_window_t root) {
  xcb_connection_t* const connection = client.connection();
  const std::unique_ptr<xcb_query_tree_reply_t, decltype(&std::free)> tree(
      xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr), &std::free);
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> info(
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 0, window, client.atom("_XEMBED_INFO"),
                                                XCB_ATOM_ANY, 0, 2),
                               nullptr),
        &std::free);
    if (info && xcb_get_property_value_length(info.get()) > 0) return window;
  }
  return XCB_NONE;
}

TEST_F(StatusItemTest, WithoutABusATrayThatEmbedsShowsTheIconAndItsMenu) {
  startDesktop();
  std::vector<StatusMenuItem> delays = {checked("None", false), checked("3 Seconds", false),
                                        checked("5 Seconds", true), checked("10 Seconds", false)};
  menu = {action("Capture Area", "Print"),
          action("Capture Previous Area", "Control+Print"),
          action("Capture Window", "Option+Print"),
          action("Capture Main Display", "Shift+Print"),
          separator(),
          submenu("Delay", delays),
          disabled(action("Scrolling Capture")),
          disabled(action("Record")),
          separator(),
          action("Save & Quit Vantorel")};
  startWithMenu();
  settle();
  EXPECT_FALSE(ui->statusItem().isHosted());

  EmbeddingTray embedding(*client);
  embedding.announce();
  ASSERT_TRUE(becomesHosted(true));
  xcb_window_t icon = XCB_NONE;
  ASSERT_TRUE(waitFor([&] {
    icon = findIcon(*client, embedding.root());
    return icon != XCB_NONE;
  }));
  embedding.embed(icon);
  settle();
  click({1020, 20});
  EXPECT_THAT(did, ElementsAre("activated"));
  const std::size_t windows = mappedWindows().size();
  click({1020, 20}, 3);
  ASSERT_TRUE(waitFor([&] { return mappedWindows().size() == windows + 1; })) << "the menu";
  movePointer({1000, 150});
  keepPicture("tray-menu");
}

}  // namespace
}  // namespace vantorel
