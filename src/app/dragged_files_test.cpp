#include "app/dragged_files.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

TEST(DraggedFilesTest, TheNextStartRemovesWhatWasDraggedOutAndNothingElse) {
  FakeFiles files;
  const Path folder = "/caches/Drags";
  const Path one = writeDraggedFile(files, folder, "Stations.png", "pixels").value();
  const Path two = writeDraggedFile(files, folder, "Stations.png", "other pixels").value();
  EXPECT_EQ(one.filename(), "Stations.png");
  EXPECT_NE(one, two) << "a name of its own folder";
  files.put("/caches/Drags/kept.txt", "somebody's");
  files.put("/caches/Drags/album/a.png", "somebody's");
  files.put("/caches/Drags/album/b.png", "somebody's");
  removeDraggedFiles(files, folder);
  EXPECT_FALSE(files.disk.contains(one));
  EXPECT_FALSE(files.disk.contains(two));
  EXPECT_FALSE(files.folders.contains(two.parent_path()));
  EXPECT_EQ(files.disk.size(), 3U);
  removeDraggedFiles(files, "/nowhere");
}

}  // namespace
}  // namespace vantorel
