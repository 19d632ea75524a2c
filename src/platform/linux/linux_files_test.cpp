#include "platform/linux/linux_files.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <cstddef>
#include <fstream>
#include <thread>

namespace vantorel {
namespace {

using testing::ElementsAre;

/// What an answer failed with; nothing when it did not.
std::optional<FailureKind> kind(const auto& answer) {
  if (answer.has_value()) return std::nullopt;
  EXPECT_FALSE(answer.error().reason.empty());
  return answer.error().kind;
}

std::string bytesOf(const Path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool isSuperuser() { return ::geteuid() == 0; }

/// From now on this thread gets `error` from the system calls named.
void refuseCalls(std::initializer_list<int> numbers, int error) {
  std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const int number : numbers) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

class LinuxFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "vantorel-files-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  std::vector<std::string> names() {
    std::vector<std::string> found;
    const auto items = files.list(folder);
    for (const FolderItem& item : items.value()) found.push_back(item.name);
    std::ranges::sort(found);
    return found;
  }

  LinuxFiles files;
  Path folder;
};

TEST_F(LinuxFilesTest, CreatesReplacesAndReadsWithoutEverLosingWhatWasThere) {
  const Path path = folder / "capture.png";
  const std::string large(3'000'000, 'x');
  ASSERT_TRUE(files.create(path, large, Privacy::byUmask, Durability::flushed).has_value());
  EXPECT_EQ(files.read(path).value(), large);
  EXPECT_EQ(files.read(path, large.size()).value().size(), large.size());
  EXPECT_EQ(kind(files.read(path, large.size() - 1)), FailureKind::tooLarge);
  EXPECT_EQ(kind(files.create(path, "other", Privacy::byUmask, Durability::visible)),
            FailureKind::exists);
  EXPECT_EQ(bytesOf(path), large);

  // Somebody else's half-written temporary, and even a link planted under its name, are harmless.
  std::filesystem::create_symlink(folder / "victim", folder / "capture.png.staging");
  ASSERT_TRUE(files.replace(path, "new", Privacy::byUmask).has_value());
  EXPECT_EQ(bytesOf(path), "new");
  EXPECT_THAT(names(), ElementsAre("capture.png"));

  EXPECT_EQ(files.read("/proc/self/comm").value(), bytesOf("/proc/self/comm"));
  EXPECT_EQ(kind(files.read(folder / "none")), FailureKind::notFound);
  EXPECT_EQ(kind(files.read(path / "below")), FailureKind::notFound);
  EXPECT_EQ(kind(files.read(folder)), FailureKind::other);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(kind(files.read(folder / "pipe")), FailureKind::other);
  EXPECT_EQ(
      kind(files.create(folder / std::string(256, 'n'), "", Privacy::byUmask, Durability::visible)),
      FailureKind::other);
}

TEST_F(LinuxFilesTest, JoinsPartsOfFilesThatMayHaveLostTheirNames) {
  const Path path = folder / "index";
  std::string old(3'000'000, 'o');
  for (std::size_t i = 0; i < old.size(); i += 997) old[i] = static_cast<char>('a' + i % 26);
  ASSERT_TRUE(files.create(path, old, Privacy::byUmask, Durability::visible).has_value());
  const auto content = files.open(path).value();
  std::filesystem::remove(path);
  const std::array parts{
      ContentPart{.bytes = "head"},
      ContentPart{.source = content.get(), .offset = 10, .length = 100},  // gathered in memory
      ContentPart{.bytes = ","},
      ContentPart{.source = content.get(), .offset = 1'000, .length = 2'500'001},
      ContentPart{.bytes = "tail"},
  };
  const auto mayReplace = [] { return Result<void>(); };
  const auto joined = files.replaceWithParts(path, parts, Privacy::ownerOnly, mayReplace);
  ASSERT_TRUE(joined.has_value()) << joined.error().reason;
  const std::string wanted =
      "head" + old.substr(10, 100) + "," + old.substr(1'000, 2'500'001) + "tail";
  EXPECT_TRUE(bytesOf(path) == wanted);
  EXPECT_EQ((*joined)->read(wanted.size() - 6, 6).value(), wanted.substr(wanted.size() - 6));
  EXPECT_EQ((*joined)->status().value(), files.status(path).value());
  EXPECT_EQ(files.status(path)->mode, 0600U);

  // A run that is not there leaves everything as it was.
  const std::array tooLong{ContentPart{.source = content.get(), .offset = 0, .length = 4'000'000}};
  EXPECT_EQ(kind(files.replaceWithParts(path, tooLong, Privacy::ownerOnly, mayReplace)),
            FailureKind::other);
  // Who asks finds the new content whole, and the old one still in its place.
  const auto refuse = [&]() -> Result<void> {
    EXPECT_TRUE(bytesOf(path) == wanted);
    EXPECT_EQ(bytesOf(folder / "index.staging"), "head");
    return failed(FailureKind::busy, "not now");
  };
  EXPECT_EQ(
      kind(files.replaceWithParts(path, std::span(parts).first(1), Privacy::ownerOnly, refuse)),
      FailureKind::busy);
  EXPECT_THAT(names(), ElementsAre("index"));
  EXPECT_TRUE(bytesOf(path) == wanted);

  std::filesystem::create_symlink(path, folder / "link");
  EXPECT_EQ(kind(files.open(folder / "link")), FailureKind::other);
  EXPECT_EQ(kind(files.open(folder)), FailureKind::other);
  EXPECT_EQ(files.makeOwnerOnly(folder / "link"), Tightening::link);
  EXPECT_EQ(files.makeOwnerOnly(folder / "none"), Tightening::absent);
  EXPECT_EQ(files.makeOwnerOnly(path), Tightening::alreadyOwnerOnly);
  std::filesystem::permissions(path, std::filesystem::perms::others_read,
                               std::filesystem::perm_options::add);
  EXPECT_EQ(files.makeOwnerOnly(path), Tightening::madeOwnerOnly);
  EXPECT_EQ(files.status(path)->mode, 0600U);
}

TEST_F(LinuxFilesTest, PrivateThingsAreForTheOwnerAloneWhateverTheUmask) {
  for (const mode_t umask : {0000U, 0277U}) {
    const mode_t before = ::umask(umask);
    const Path inner = folder / "a" / std::to_string(umask) / "b";
    EXPECT_TRUE(files.makeFolder(inner, Privacy::ownerOnly).has_value());
    EXPECT_TRUE(
        files.create(inner / "new", "", Privacy::ownerOnly, Durability::visible).has_value());
    EXPECT_TRUE(files.replace(inner / "set", "", Privacy::ownerOnly).has_value());
    ::umask(before);
    for (const Path& made : {folder / "a", inner.parent_path(), inner}) {
      EXPECT_EQ(files.status(made).value().mode, 0700U) << made;
    }
    EXPECT_EQ(files.status(inner / "new").value().mode, 0600U);
    EXPECT_EQ(files.status(inner / "set").value().mode, 0600U);
  }
  const mode_t before = ::umask(027);
  ASSERT_TRUE(files.makeFolder(folder / "shared/", Privacy::byUmask).has_value());
  ASSERT_TRUE(files.replace(folder / "shared/file", "", Privacy::byUmask).has_value());
  ::umask(before);
  EXPECT_EQ(files.status(folder / "shared").value().mode, 0750U);
  EXPECT_EQ(files.status(folder / "shared/file").value().mode, 0640U);

  EXPECT_TRUE(files.makeFolder(folder / "shared", Privacy::ownerOnly).has_value());
  EXPECT_EQ(files.status(folder / "shared").value().mode, 0750U) << "not ours to change";
  EXPECT_EQ(kind(files.makeFolder(folder / "shared/file", Privacy::byUmask)), FailureKind::exists);
  EXPECT_EQ(kind(files.makeFolder(folder / "shared/file/x", Privacy::byUmask)),
            FailureKind::notFound);
}

TEST_F(LinuxFilesTest, TellsWhatANameIsWithoutFollowingLinks) {
  ASSERT_TRUE(files.create(folder / "file", "12345", Privacy::byUmask, Durability::visible));
  ASSERT_TRUE(files.makeFolder(folder / "folder", Privacy::byUmask));
  std::filesystem::create_symlink("file", folder / "link");
  std::filesystem::create_symlink("nowhere", folder / "dangling");

  const FileStatus status = files.status(folder / "file").value();
  EXPECT_EQ(status.type, FileType::regular);
  EXPECT_EQ(status.size, 5U);
  EXPECT_EQ(status.owner, ::getuid());
  EXPECT_NEAR(status.modified, static_cast<double>(std::time(nullptr)), 5);
  EXPECT_EQ(files.status(folder / "folder").value().type, FileType::folder);
  EXPECT_EQ(files.status(folder / "link").value().type, FileType::link);
  EXPECT_EQ(files.status(folder / "dangling").value().type, FileType::link);

  std::map<std::string, FileType> listed;
  const auto items = files.list(folder);
  for (const FolderItem& item : items.value()) listed[item.name] = item.type;
  EXPECT_EQ(listed, (std::map<std::string, FileType>{{"file", FileType::regular},
                                                     {"folder", FileType::folder},
                                                     {"link", FileType::link},
                                                     {"dangling", FileType::link}}));
  EXPECT_EQ(kind(files.list(folder / "none")), FailureKind::notFound);

  // A captures folder reached through a link works; a file is never made through one.
  EXPECT_EQ(files.read(folder / "link").value(), "12345");
  EXPECT_EQ(kind(files.create(folder / "dangling", "", Privacy::byUmask, Durability::visible)),
            FailureKind::exists);
  EXPECT_EQ(kind(files.lock(folder / "dangling")), FailureKind::other);
  EXPECT_FALSE(std::filesystem::exists(folder / "nowhere"));

  EXPECT_EQ(kind(files.remove(folder)), FailureKind::other) << "not empty";
  for (const std::string& name : names()) EXPECT_TRUE(files.remove(folder / name)) << name;
  EXPECT_EQ(kind(files.remove(folder / "file")), FailureKind::notFound);
  EXPECT_TRUE(files.flushFolder(folder));
  EXPECT_EQ(kind(files.flushFolder(folder / "none")), FailureKind::notFound);
}

/// The moves a library makes, on whatever file system; true for one that renames in one step.
void moveAndLink(LinuxFiles& files, const Path& folder) {
  const Path from = folder / "from";
  const Path to = folder / "to";
  ASSERT_TRUE(files.create(from, "moved", Privacy::byUmask, Durability::visible));
  ASSERT_TRUE(files.create(to, "there", Privacy::byUmask, Durability::visible));
  const std::uint64_t inode = files.status(from).value().inode;
  EXPECT_EQ(kind(files.moveNew(from, to)), FailureKind::exists);
  EXPECT_EQ(bytesOf(to), "there");
  EXPECT_EQ(kind(files.moveNew(folder / "none", to)), FailureKind::notFound);
  ASSERT_TRUE(files.remove(to));
  ASSERT_TRUE(files.moveNew(from, to));
  EXPECT_EQ(files.status(to).value().inode, inode);
  EXPECT_EQ(bytesOf(to), "moved");
  EXPECT_EQ(kind(files.status(from)), FailureKind::notFound);

  ASSERT_TRUE(files.makeFolder(folder / "package/inside", Privacy::byUmask));
  EXPECT_EQ(kind(files.moveNew(folder / "package", to)), FailureKind::exists);
  ASSERT_TRUE(files.moveNew(folder / "package", folder / "renamed"));
  EXPECT_EQ(files.status(folder / "renamed/inside").value().type, FileType::folder);
}

TEST_F(LinuxFilesTest, MovesNeverOverwriteEvenWhereTheSystemCannotPromiseIt) {
  moveAndLink(files, folder);
  ASSERT_TRUE(files.linkNew(folder / "to", folder / "second"));
  EXPECT_EQ(files.status(folder / "second").value().inode,
            files.status(folder / "to").value().inode);
  EXPECT_EQ(kind(files.linkNew(folder / "to", folder / "second")), FailureKind::exists);
  const Path elsewhere = Path("/dev/shm") / folder.filename();
  ASSERT_NE(files.status("/dev/shm").value().device, files.status(folder).value().device);
  EXPECT_EQ(kind(files.moveNew(folder / "to", elsewhere)), FailureKind::unsupported);
  EXPECT_EQ(kind(files.linkNew(folder / "to", elsewhere)), FailureKind::unsupported);

  // NFS knows no rename without replacing, FAT on top of that no hard links.
  const Path network = folder / "network";
  const Path stick = folder / "stick";
  ASSERT_TRUE(files.makeFolder(network, Privacy::byUmask));
  ASSERT_TRUE(files.makeFolder(stick, Privacy::byUmask));
  std::thread([&] {
    refuseCalls({SYS_renameat2}, EINVAL);
    moveAndLink(files, network);
  }).join();
  std::thread([&] {
    refuseCalls({SYS_renameat2}, EINVAL);
    refuseCalls({SYS_link, SYS_linkat}, EPERM);
    moveAndLink(files, stick);
    EXPECT_EQ(kind(files.linkNew(stick / "to", stick / "second")), FailureKind::unsupported);
  }).join();
}

TEST_F(LinuxFilesTest, KeepsAttributesOrSaysWhyNot) {
  const Path path = folder / "staged.png";
  ASSERT_TRUE(files.create(path, "png", Privacy::ownerOnly, Durability::visible));
  EXPECT_EQ(kind(files.attribute(path, "com.example.mark")), FailureKind::notFound);
  EXPECT_EQ(kind(files.removeAttribute(path, "com.example.mark")), FailureKind::notFound);
  ASSERT_TRUE(files.setAttribute(path, "com.example.mark", R"({"v":1})"));
  ASSERT_TRUE(files.setAttribute(path, "com.example.mark", ""));
  EXPECT_EQ(files.attribute(path, "com.example.mark").value(), "");
  ASSERT_TRUE(files.setAttribute(path, "com.example.mark", R"({"v":1,"scale":2})"));
  ASSERT_TRUE(files.moveNew(path, folder / "filed.png"));
  EXPECT_EQ(files.attribute(folder / "filed.png", "com.example.mark").value(),
            R"({"v":1,"scale":2})");
  ASSERT_TRUE(files.removeAttribute(folder / "filed.png", "com.example.mark"));
  EXPECT_EQ(kind(files.attribute(folder / "filed.png", "com.example.mark")), FailureKind::notFound);

  std::filesystem::create_symlink("filed.png", folder / "link");
  EXPECT_EQ(kind(files.setAttribute(folder / "link", "com.example.mark", "x")),
            FailureKind::denied);
  EXPECT_EQ(kind(files.attribute(folder / "none", "com.example.mark")), FailureKind::notFound);
  EXPECT_EQ(kind(files.attribute("/proc/self/status", "com.example.mark")),
            FailureKind::unsupported);
}

TEST_F(LinuxFilesTest, ACopyIsTheFileAgainOnAnotherDisk) {
  const Path path = folder / "take.mp4";
  const Path elsewhere = Path("/dev/shm") / folder.filename();
  std::string bytes(3 << 20, 'x');
  for (std::size_t i = 0; i < bytes.size(); i += 7) bytes[i] = static_cast<char>(i);
  ASSERT_TRUE(files.create(path, bytes, Privacy::ownerOnly, Durability::visible));
  ASSERT_TRUE(files.setAttribute(path, "vantorel.capture", std::string("1\0x", 3)));
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  const std::array<timespec, 2> times{timespec{1700000000, 1}, timespec{1600000000, 123456789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0), 0);
  const FileStatus before = files.status(path).value();

  for (const Path& copy : {folder / "copy.mp4", elsewhere}) {
    ASSERT_TRUE(files.copyNew(path, copy)) << copy;
    EXPECT_TRUE(bytesOf(copy) == bytes);
    EXPECT_EQ(kind(files.copyNew(path, copy)), FailureKind::exists);
    const FileStatus after = files.status(copy).value();
    EXPECT_EQ(after.modified, before.modified);
    EXPECT_EQ(after.mode, 0640U);
  }
  EXPECT_EQ(files.attribute(folder / "copy.mp4", "vantorel.capture").value(),
            std::string("1\0x", 3));
  ASSERT_TRUE(files.remove(elsewhere));
  std::filesystem::create_symlink(path, folder / "link");
  EXPECT_TRUE(kind(files.copyNew(folder / "link", elsewhere)).has_value());
  EXPECT_TRUE(kind(files.copyNew(folder, elsewhere)).has_value());

  EXPECT_EQ(files.makeFolder("/proc/vantorel", Privacy::byUmask).error().reason,
            "no folder can be made in /proc");

  // Half a copy is not left lying about.
  if (!isSuperuser()) return;
  const Path tiny = folder / "tiny";
  ASSERT_TRUE(files.makeFolder(tiny, Privacy::byUmask));
  ASSERT_EQ(::mount("tmpfs", tiny.c_str(), "tmpfs", 0, "size=64k"), 0);
  EXPECT_EQ(kind(files.copyNew(path, tiny / "take.mp4")), FailureKind::noSpace);
  EXPECT_TRUE(files.list(tiny).value().empty());
  ASSERT_EQ(::umount(tiny.c_str()), 0);
}

TEST_F(LinuxFilesTest, WhetherAFolderTakesFilesIsTried) {
  EXPECT_TRUE(files.checkWritable(folder));
  EXPECT_TRUE(files.list(folder).value().empty()) << "without a trace";
  EXPECT_TRUE(kind(files.checkWritable(folder / "none")).has_value());
  if (!isSuperuser()) return;
  // To the superuser, every folder says that it may be written.
  for (const char* const place : {"/proc", "/sys"}) {
    EXPECT_TRUE(kind(files.checkWritable(place)).has_value()) << place;
  }
  ASSERT_EQ(::mount("none", folder.c_str(), "tmpfs", 0, "size=64k,nr_inodes=3"), 0);
  EXPECT_TRUE(files.checkWritable(folder));
  for (const char* const name : {"one", "two"}) {
    EXPECT_TRUE(files.create(folder / name, "", Privacy::byUmask, Durability::visible));
  }
  EXPECT_EQ(kind(files.checkWritable(folder)), FailureKind::noSpace) << "no inode is left";
  EXPECT_TRUE(files.remove(folder / "two"));
  EXPECT_TRUE(
      files.create(folder / "two", std::string(65536, 'x'), Privacy::byUmask, Durability::visible));
  ASSERT_EQ(::mount("none", folder.c_str(), nullptr, MS_REMOUNT, "size=64k,nr_inodes=9"), 0);
  EXPECT_EQ(kind(files.checkWritable(folder)), FailureKind::noSpace) << "no room is left";
  EXPECT_EQ(::mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(kind(files.checkWritable(folder)), FailureKind::readOnly);
  EXPECT_THAT(names(), ElementsAre("one", "two"));
  EXPECT_EQ(::umount(folder.c_str()), 0);
}

TEST_F(LinuxFilesTest, ALockHasOneHolderAndDiesWithItsProcess) {
  const Path path = folder / "lock";
  {
    const auto held = files.lock(path);
    ASSERT_TRUE(held.has_value());
    EXPECT_EQ(files.status(path).value().mode, 0600U);
    EXPECT_EQ(kind(LinuxFiles().lock(path)), FailureKind::busy);
  }
  ASSERT_TRUE(files.lock(path).has_value());
  EXPECT_EQ(kind(files.lock(folder / "none" / "lock")), FailureKind::notFound);

  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto held = files.lock(path);
    if (::write(ready[1], held ? "y" : "n", 1) == 1) ::pause();
    ::_exit(1);
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  EXPECT_EQ(kind(files.lock(path)), FailureKind::busy);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(files.lock(path).has_value());
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST_F(LinuxFilesTest, AFullDiskLeavesTheOldContentAndNoScraps) {
  const std::string tooMuch(3'000'000, 'x');
  const Path old = folder / "old";
  if (isSuperuser()) {
    ASSERT_EQ(::mount("none", folder.c_str(), "tmpfs", 0, "size=1m"), 0);
  } else {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1 << 20, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  const FailureKind full = isSuperuser() ? FailureKind::noSpace : FailureKind::other;
  EXPECT_TRUE(files.replace(old, "old content", Privacy::ownerOnly));
  EXPECT_EQ(kind(files.replace(old, tooMuch, Privacy::ownerOnly)), full);
  EXPECT_EQ(kind(files.create(folder / "new", tooMuch, Privacy::byUmask, Durability::flushed)),
            full);
  EXPECT_EQ(kind(files.create(folder / "new", tooMuch, Privacy::byUmask, Durability::visible)),
            full);
  EXPECT_THAT(names(), ElementsAre("old"));
  EXPECT_EQ(bytesOf(old), "old content");
  if (isSuperuser()) {
    EXPECT_EQ(
        files.create(folder / "new", tooMuch, Privacy::byUmask, Durability::visible).error().reason,
        "the disk is full");
    EXPECT_EQ(::mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_EQ(kind(files.replace(old, "x", Privacy::ownerOnly)), FailureKind::readOnly);
    EXPECT_EQ(kind(files.remove(old)), FailureKind::readOnly);
    EXPECT_EQ(kind(files.setAttribute(old, "com.example.mark", "x")), FailureKind::readOnly);
    EXPECT_EQ(kind(files.makeFolder(folder / "a/b", Privacy::ownerOnly)), FailureKind::readOnly);
    EXPECT_EQ(files.read(old).value(), "old content");
    EXPECT_EQ(::umount(folder.c_str()), 0);
  } else {
    const rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
}

TEST_F(LinuxFilesTest, AFolderTheUserMayNotWriteIsDeniedAndKeepsItsContent) {
  ASSERT_TRUE(files.create(folder / "old", "old", Privacy::byUmask, Durability::visible));
  ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
  // The superuser may write everywhere, so the calls are made as nobody, by this thread alone.
  if (isSuperuser()) ::setfsuid(65534);
  EXPECT_EQ(kind(files.create(folder / "new", "", Privacy::byUmask, Durability::visible)),
            FailureKind::denied);
  EXPECT_EQ(kind(files.replace(folder / "old", "new", Privacy::ownerOnly)), FailureKind::denied);
  EXPECT_EQ(kind(files.moveNew(folder / "old", folder / "new")), FailureKind::denied);
  EXPECT_EQ(kind(files.remove(folder / "old")), FailureKind::denied);
  EXPECT_EQ(kind(files.makeFolder(folder / "a/b", Privacy::ownerOnly)), FailureKind::denied);
  if (isSuperuser()) ::setfsuid(0);
  ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
  EXPECT_THAT(names(), ElementsAre("old"));
  EXPECT_EQ(bytesOf(folder / "old"), "old");
}

}  // namespace
}  // namespace vantorel
