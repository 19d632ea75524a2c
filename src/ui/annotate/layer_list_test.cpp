#include "ui/annotate/layer_list.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QMenu>
#include <QScrollBar>
#include <QSlider>

#include "ui/kit/name_field.hpp"
#include "ui/testing/inspector_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

class LayerListTest : public InspectorTestCase {};

TEST_F(LayerListTest, LayersAreSelectedHiddenLockedAndNamedInTheirList) {
  start(layered());
  EXPECT_EQ(named("Stations, week 47")->y(), 80) << "the capture has the title, and lies lowest";
  auto* const photo = named("Photo");
  const int place = photo->mapTo(inspector, QPoint()).y();
  clickOn(photo);
  ASSERT_NE(editor->selectedLayer(), nullptr);
  EXPECT_EQ(editor->selectedLayer()->id, "Photo");
  EXPECT_EQ(photo->mapTo(inspector, QPoint()).y(), place) << "it stays below the pointer";
  EXPECT_NE(named<QSlider>("Opacity"), nullptr) << "at once";
  keepPicture("inspector-layers");
  std::vector<std::string> way;
  named("Add layers")->setFocus(Qt::TabFocusReason);
  for (int i = 0; i < 3; ++i) {
    strike(XK_Tab);
    way.push_back(QApplication::focusWidget()->accessibleName().toStdString());
  }
  EXPECT_THAT(way, ElementsAre("Legend", "Photo", "Stations, week 47"));
  editor->selectLayer("Legend");
  settle();
  EXPECT_TRUE(named("Legend")->isChecked());
  EXPECT_FALSE(named("Photo")->isChecked());

  clickOn(named("Hide Layer", photo));
  EXPECT_FALSE(editor->state().findLayer("Photo")->visible);
  EXPECT_EQ(photo->accessibleDescription(), "Hidden");
  clickOn(named("Lock Layer", photo));
  EXPECT_TRUE(editor->state().findLayer("Photo")->locked);
  missing = {"Photo"};
  oversized = {"Legend"};
  changes.notify();
  settle();
  EXPECT_EQ(named("Legend")->accessibleDescription(), "Too large to build");
  EXPECT_EQ(photo->accessibleDescription(), "Missing, Hidden, Locked");
  keepPicture("inspector-faults");

  clickOn(photo);
  strike(XK_F2);
  auto* const field = inspector->findChild<NameField*>();
  ASSERT_NE(field, nullptr);
  field->setText(QString::fromUtf8("A\u202Egpj.exe\u2066 \x01 layer ") + QString(900, u'x'));
  strike(XK_Return);
  const std::string name = editor->state().findLayer("Photo")->name;
  EXPECT_TRUE(name.starts_with("A gpj.exe layer xxx")) << name;
  EXPECT_LT(name.size(), 500u);
  EXPECT_THAT(reports, ElementsAre("Layer renamed to " + name));
  keepPicture("inspector-long-name");
  strike(XK_F2);
  inspector->findChild<NameField*>()->setText("never");
  strike(XK_Escape);
  EXPECT_EQ(editor->state().findLayer("Photo")->name, name);
  EXPECT_EQ(inspector->horizontalScrollBar()->maximum(), 0) << "no name widens the list";
  auto* const legend = named("Legend");
  editor->select({});
  settle();
  const QPoint twice = middleOf(*legend);
  click(twice);
  settle();
  click(twice);
  EXPECT_NE(legend->findChild<NameField*>(), nullptr) << "the second click was on the same row";
}

TEST_F(LayerListTest, LayersAreDraggedAndSteppedToOtherPlaces) {
  start(layered());
  ASSERT_THAT(order(), ElementsAre("Capture", "Photo", "Legend"));
  auto* const legend = named("Legend");
  const QPoint from = middleOf(*legend);
  movePointer(from);
  press();
  movePointer(from + QPoint(0, 30));
  movePointer(from + QPoint(0, 70));
  keepPicture("inspector-drag");
  release();
  settle();
  EXPECT_THAT(order(), ElementsAre("Capture", "Legend", "Photo"));
  EXPECT_EQ(editor->undoName(), "Reorder Layers");

  // Esc ends a drag, and so does a layer that goes meanwhile.
  const QPoint top = middleOf(*named("Photo"));
  movePointer(top);
  press();
  movePointer(top + QPoint(0, 40));
  strike(XK_Escape);
  release();
  movePointer(top);
  press();
  movePointer(top + QPoint(0, 90));
  editor->undo();
  settle();
  release();
  settle();
  EXPECT_THAT(order(), ElementsAre("Capture", "Photo", "Legend"));

  clickOn(named("Legend"));
  client->key(XK_Alt_L, true);
  strike(XK_Down);
  strike(XK_Down);
  strike(XK_Down);
  client->key(XK_Alt_L, false);
  settle();
  EXPECT_THAT(order(), ElementsAre("Legend", "Capture", "Photo"));
  EXPECT_TRUE(named("Legend")->hasFocus()) << "the keyboard goes with its layer";
  strike(XK_Up);
  EXPECT_EQ(editor->selectedLayer()->id, "Capture");
  strike(XK_Delete);
  EXPECT_EQ(order().size(), 3u) << "the capture can be hidden, not removed";
  strike(XK_Up);
  strike(XK_Delete);
  EXPECT_THAT(order(), ElementsAre("Legend", "Capture"));

  clickOn(named("Legend"), 3);
  auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_NE(menu, nullptr);
  keepPicture("inspector-menu");
  for (QAction* const item : menu->actions()) {
    if (item->text() == "Duplicate") item->trigger();
  }
  menu->close();
  EXPECT_THAT(order(), ElementsAre("Legend", "Legend", "Capture"));
}

TEST_F(LayerListTest, ACaptureThatIsNoLayerYetCanBeHiddenAndNamedInOneStep) {
  start();
  auto* const row = named("Stations, week 47");
  clickOn(row);
  EXPECT_TRUE(editor->state().layers->empty()) << "to look at it changes nothing";
  clickOn(named("Hide Layer", row));
  ASSERT_EQ(editor->state().layers->size(), 1u);
  EXPECT_FALSE(editor->state().layers->front().visible);
  EXPECT_EQ(editor->undoName(), "Hide Layer");
  editor->undo();
  EXPECT_TRUE(editor->state().layers->empty());
  clickOn(named("Add layers"));
  EXPECT_EQ(timesAdding, 1);
}

}  // namespace
}  // namespace vantorel
