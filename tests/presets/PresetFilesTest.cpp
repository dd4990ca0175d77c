#include "presets/FactoryBank.h"
#include "presets/PresetFile.h"
#include "presets/PresetFolders.h"
#include "tests/presets/TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#ifndef _WIN32
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

const QVXPresetRecord& sample() {
    static const QVXPresetRecord record = buildFactoryBank()[7];
    return record;
}

std::size_t entriesIn(const TestFolder& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path),
                                                  std::filesystem::directory_iterator()));
}

TEST(PresetFile, RoundTripsUnderAnyName) {
    const TestFolder folder;
    for (const char* name : {"plain", "Zwölf Töne", "遅延", "эхо", "🎸 lead", "dots.in.name"}) {
        const auto file = folder / (std::string(name) + ".qvx");
        EXPECT_TRUE(isFileName(name));
        ASSERT_EQ(savePreset(folder / name, sample(), {}), PresetFault::None) << name;
        QVXPresetRecord record{};
        ASSERT_EQ(loadPresetFile(folder.path, name, "", record), PresetFault::None) << name;
        EXPECT_EQ(record, sample());
        EXPECT_TRUE(std::filesystem::exists(file));
    }
    EXPECT_EQ(entriesIn(folder), 6u);  // and no temporary file is left
}

TEST(PresetFile, NamesThatNotEverySystemTakesAreRefusedOrReplaced) {
    for (const char* name : {"", ".", "..", " x", "x ", "x.", ".x", "a/b", "a\\b", "a:b", "a\nb",
                             "what?", "con", "NUL.txt", "com1", "NUL .a", "COM²", "conin$", "\xFF"})
        EXPECT_FALSE(isFileName(name)) << name;
    EXPECT_FALSE(isFileName(std::string(252, 'x')));
    EXPECT_EQ(fileNameFor("clipboard 09:05:07"), "clipboard 09-05-07");
    for (const char* name : {"", "...", "con", "<>", " \x01 ", "aux.1", "\xC3"})
        EXPECT_TRUE(isFileName(fileNameFor(name))) << name;
    const TestFolder folder;
    EXPECT_EQ(savePreset(folder.path / "", sample(), {}), PresetFault::BadName);
#ifndef _WIN32
    const auto tooLong = folder / std::string(300, 'x');
    EXPECT_EQ(savePreset(tooLong, sample(), {}), PresetFault::BadName);
#endif
}

TEST(PresetFile, DevicesAreNoPresetFiles) {
    const TestFolder folder;
    for (const char* name : {"NUL.qvx", "com1.qvx", "Lpt9.old.qvx", "AUX .qvx"}) {
        const auto file = folder / name;
        QVXPresetRecord record{};
        EXPECT_EQ(savePreset(file, sample(), {}), PresetFault::BadName) << name;
        EXPECT_EQ(loadPreset(file, record), PresetFault::NotAPreset) << name;
        EXPECT_EQ(deletePreset(file), PresetFault::NotAPreset) << name;
#ifndef _WIN32
        writeBytes(file, "");
#endif
    }
    writeBytes(folder / "nullpoint.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    ASSERT_EQ(folders.list()[0].files.size(), 1u);
    EXPECT_EQ(folders.list()[0].files[0].name, "nullpoint");
}

TEST(PresetFile, SavingReplacesInOnePiece) {
    const TestFolder folder;
    const auto file = folder / "x.qvx";
    ASSERT_EQ(savePreset(file, buildFactoryBank()[1], {}), PresetFault::None);
    // A reader that looks all the while never finds half a file.
    std::thread writer([&] {
        for (int i = 0; i < 100; ++i) savePreset(file, buildFactoryBank()[i % 2 + 1], {});
    });
    for (int i = 0; i < 100; ++i) {
        const std::string bytes = readBytes(file);
#ifdef _WIN32
        if (bytes.empty()) continue;  // the moment of replacing locks readers out there
#endif
        EXPECT_EQ(bytes.size(), 1425u);
    }
    writer.join();
    EXPECT_EQ(entriesIn(folder), 1u);
}

TEST(PresetFile, RenamingNeverReplacesAndMayChangeCase) {
    const TestFolder folder;
    savePreset(folder / "a", sample(), {});
    savePreset(folder / "b", sample(), {});
    EXPECT_EQ(renamePreset(folder / "a.qvx", "b"), PresetFault::NameTaken);
    EXPECT_EQ(renamePreset(folder / "a.qvx", "A"), PresetFault::None);
    EXPECT_EQ(renamePreset(folder / "gone.qvx", "c"), PresetFault::NotFound);
    PresetFolders folders(folder.path);
    folders.scan();
    ASSERT_EQ(folders.list()[0].files.size(), 2u);
    EXPECT_EQ(folders.list()[0].files[0].name, "A");
    EXPECT_EQ(readBytes(folder / "A.qvx").size(), 1425u);
    EXPECT_EQ(entriesIn(folder), 2u);
    EXPECT_EQ(deletePreset(folder / "gone.qvx"), PresetFault::NotFound);
}

TEST(PresetFile, ExtremeFilesAreNoPresets) {
    const TestFolder folder;
    QVXPresetRecord record = sample();
    std::filesystem::create_directories(folder / "folder.qvx");
    EXPECT_NE(loadPreset(folder / "folder.qvx", record), PresetFault::None);
    // A sparse gigabyte: only its front may be read.
    writeBytes(folder / "huge.qvx", "y");
    std::filesystem::resize_file(folder / "huge.qvx", 1u << 30);
    EXPECT_EQ(loadPreset(folder / "huge.qvx", record), PresetFault::NotAPreset);
#ifndef _WIN32
    ASSERT_EQ(mkfifo((folder / "pipe.qvx").c_str(), 0600), 0);  // opening one waits for a writer
    EXPECT_NE(loadPreset(folder / "pipe.qvx", record), PresetFault::None);
    std::filesystem::create_symlink(folder / "loop.qvx", folder / "loop.qvx");
    EXPECT_NE(loadPreset(folder / "loop.qvx", record), PresetFault::None);
#endif
    EXPECT_EQ(record, sample());
}

#ifndef _WIN32

// Runs in a child, whose exit code is the fault: what it gives up of its rights stays given up.
template <typename Action>
PresetFault inChild(Action&& action) {
    const pid_t child = fork();
    if (child == 0) _exit(static_cast<int>(action()));
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    return static_cast<PresetFault>(WEXITSTATUS(status));
}

TEST(PresetFile, FullDiskKeepsTheOldFile) {
    const TestFolder folder;
    ASSERT_EQ(savePreset(folder / "x", sample(), {}), PresetFault::None);
    const auto fault = inChild([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        return savePreset(folder / "x", buildFactoryBank()[1], {});
    });
    EXPECT_EQ(fault, PresetFault::DiskFull);
    QVXPresetRecord record{};
    EXPECT_EQ(loadPreset(folder / "x.qvx", record), PresetFault::None);
    EXPECT_EQ(record, sample());
    EXPECT_EQ(entriesIn(folder), 1u);
}

// A file system of its own over the folder, seen by this process alone. False where the system
// doesn't let the user have one.
bool coverWithSmallDisk(const std::filesystem::path& folder) {
    const bool root = getuid() == 0;
    const auto onlyOne = [](auto id) { return "0 " + std::to_string(id) + " 1\n"; };
    const std::string users = onlyOne(getuid()), groups = onlyOne(getgid());
    if (unshare(root ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (!root) {
        writeBytes("/proc/self/setgroups", "deny");
        writeBytes("/proc/self/uid_map", users);
        writeBytes("/proc/self/gid_map", groups);
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("small", folder.c_str(), "tmpfs", 0, "size=16k") == 0;
}

void fillAndProtectDisk(const TestFolder& disk) {
    const auto holdsSample = [&] {
        QVXPresetRecord record{};
        return loadPreset(disk / "x.qvx", record) == PresetFault::None && record == sample();
    };
    const QVXPresetRecord other = buildFactoryBank()[1];
    EXPECT_EQ(savePreset(disk / "x", sample(), {}), PresetFault::None);
    writeBytes(disk / "filler", std::string(1 << 16, '#'));
    EXPECT_EQ(savePreset(disk / "x", other, {}), PresetFault::DiskFull);
    EXPECT_EQ(savePreset(disk / "y", other, {}), PresetFault::DiskFull);
    EXPECT_TRUE(holdsSample());
    EXPECT_EQ(entriesIn(disk), 2u);  // no half file, no temporary one
    std::filesystem::remove(disk / "filler");
    EXPECT_EQ(savePreset(disk / "y", other, {}), PresetFault::None);

    ASSERT_EQ(mount(nullptr, disk.path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_EQ(savePreset(disk / "x", other, {}), PresetFault::ReadOnly);
    EXPECT_EQ(savePreset(disk / "z", other, {}), PresetFault::ReadOnly);
    EXPECT_EQ(renamePreset(disk / "x.qvx", "z"), PresetFault::ReadOnly);
    EXPECT_EQ(deletePreset(disk / "x.qvx"), PresetFault::ReadOnly);
    EXPECT_EQ(PresetFolders(disk / "new").ensureMainFolder(), PresetFault::ReadOnly);
    EXPECT_TRUE(holdsSample());
    EXPECT_EQ(entriesIn(disk), 2u);
}

TEST(PresetFile, DiskWithoutRoomOrWriteProtectedKeepsWhatItHolds) {
    const TestFolder folder;
    constexpr auto kNoDisk = static_cast<PresetFault>(99);
    const auto outcome = inChild([&] {
        if (!coverWithSmallDisk(folder.path)) return kNoDisk;
        fillAndProtectDisk(folder);
        return HasFailure() ? PresetFault::Failed : PresetFault::None;
    });
    if (outcome == kNoDisk) GTEST_SKIP() << "this user may not mount a small disk to fill";
    EXPECT_EQ(outcome, PresetFault::None);
}

TEST(PresetFile, ReadOnlyFolderIsTold) {
    const TestFolder folder;
    ASSERT_EQ(savePreset(folder / "x", sample(), {}), PresetFault::None);
    chmod(folder.path.c_str(), 0555);
    const auto asNobody = [&](auto&& action) {
        return inChild([&] {
            if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(99);
            return action();
        });
    };
    EXPECT_EQ(asNobody([&] { return savePreset(folder / "x", sample(), {}); }),
              PresetFault::ReadOnly);
    EXPECT_EQ(asNobody([&] { return deletePreset(folder / "x.qvx"); }), PresetFault::ReadOnly);
    EXPECT_EQ(asNobody([&] { return renamePreset(folder / "x.qvx", "y"); }), PresetFault::ReadOnly);
    EXPECT_EQ(asNobody([&] {
                  QVXPresetRecord record{};
                  return loadPreset(folder / "x.qvx", record);
              }),
              PresetFault::None);
    // In a folder of rights a file may still be protected, and stays so.
    chmod(folder.path.c_str(), 0777);
    chmod((folder / "x.qvx").c_str(), 0444);
    EXPECT_EQ(asNobody([&] { return savePreset(folder / "x", sample(), {}); }),
              PresetFault::ReadOnly);
}

TEST(PresetFile, LinksStayLinks) {
    const TestFolder folder;
    const TestFolder* place = &folder;
    std::filesystem::create_directories(*place / "elsewhere");
    ASSERT_EQ(savePreset(folder / "elsewhere/real", sample(), {}), PresetFault::None);
    std::filesystem::create_symlink(folder / "elsewhere/real.qvx", folder / "link.qvx");
    ASSERT_EQ(savePreset(folder / "link.qvx", buildFactoryBank()[1], {}), PresetFault::None);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.qvx"));
    QVXPresetRecord record{};
    EXPECT_EQ(loadPreset(folder / "elsewhere/real.qvx", record), PresetFault::None);
    EXPECT_EQ(record, buildFactoryBank()[1]);
}

#else

TEST(PresetFile, WriteProtectedFileIsTold) {
    const TestFolder folder;
    ASSERT_EQ(savePreset(folder / "x", sample(), {}), PresetFault::None);
    const auto readOnly = std::filesystem::perms::owner_read;
    std::filesystem::permissions(folder / "x.qvx", readOnly);
    EXPECT_EQ(savePreset(folder / "x", buildFactoryBank()[1], {}), PresetFault::ReadOnly);
    std::filesystem::permissions(folder / "x.qvx", std::filesystem::perms::all);
    QVXPresetRecord record{};
    EXPECT_EQ(loadPreset(folder / "x.qvx", record), PresetFault::None);
    EXPECT_EQ(record, sample());
}

#endif

TEST(PresetFolders, ListsOneLevelInNaturalOrderAndInSilence) {
    const TestFolder folder;
    for (const char* sub : {"beta", "Alpha", "ångström", "Ärger", "Zulu"})
        std::filesystem::create_directories(folder / sub);
    std::filesystem::create_directories(folder / "Alpha/deeper");
    for (const char* file : {"b.qvx", "A.QVX", "C.qvx", "notes.txt", "noextension", ".qvx",
                             "Alpha/in.qvx", "Alpha/deeper/unseen.qvx", "a 10.qvx", "A 9 b.qvx",
                             "a 09 c.qvx", "a 9.qvx", "100.qvx", "20.qvx"})
        writeBytes(folder / file, "");
    std::filesystem::create_directories(folder / "isfolder.qvx");
    PresetFolders folders(folder.path);
    testing::internal::CaptureStderr();
    folders.scan();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    std::vector<std::string> names;
    for (const auto& entry : folders.list()) names.push_back(entry.name);
    EXPECT_EQ(names, (std::vector<std::string>{"#MAIN FOLDER", "Alpha", "beta", "isfolder.qvx",
                                               "Zulu", "Ärger", "ångström"}));
    names.clear();
    for (const auto& entry : folders.list()[0].files) names.push_back(entry.name);
    EXPECT_EQ(names, (std::vector<std::string>{"20", "100", "A", "a 9", "A 9 b", "a 09 c", "a 10",
                                               "b", "C"}));
    ASSERT_EQ(folders.list()[1].files.size(), 1u);
    EXPECT_EQ(folders.list()[1].files[0].name, "in");
}

TEST(PresetFolders, HoldsOutAgainstMany) {
    const TestFolder folder;
    for (int i = 0; i < 130; ++i)
        std::filesystem::create_directories(folder / ("sub" + std::to_string(1000 + i)));
    for (int i = 0; i < 1000; ++i) {
        writeBytes(folder / (std::to_string(1000 + i) + ".qvx"), "");
        writeBytes(folder / ("sub1007/" + std::to_string(1000 + i) + ".qvx"), "");
    }
    PresetFolders folders(folder.path);
    folders.scan();
    ASSERT_EQ(folders.list().size(), 128u);
    EXPECT_EQ(folders.list()[127].name, "sub1126");
    EXPECT_EQ(folders.list()[0].files.size(), 1000u);
    EXPECT_EQ(folders.list()[8].files[999].name, "1999");
    EXPECT_EQ(folders.locate(folder / "sub1007/1500.qvx"), (PresetLocation{kFromFolder, 8, 500}));
    EXPECT_EQ(folders.locate(folder / "sub1129/x.qvx"), (PresetLocation{kFromFolder, 0, -1}));
}

TEST(PresetFolders, FileIsFoundByWhateverPathItIsNamed) {
    const TestFolder folder;
    std::filesystem::create_directories(folder / "Sub");
    writeBytes(folder / "Sub/One.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    const PresetLocation place{kFromFolder, 1, 0};
    EXPECT_EQ(folders.locate(folder / "Sub/../Sub/One.qvx"), place);
#ifdef _WIN32
    EXPECT_EQ(folders.locate(folder / "sUB/oNE.qvx"), place);
#else
    std::filesystem::create_symlink(folder / "Sub", folder / "link");
    EXPECT_EQ(folders.locate(folder / "link/One.qvx"), place);
#endif
    EXPECT_EQ(folders.locate(folder / "Sub/two.qvx"), (PresetLocation{kFromFolder, 1, -1}));
}

TEST(PresetFolders, NothingThereIsAnEmptyMainFolder) {
    const TestFolder folder;
    for (const auto& path : {folder / "missing", std::filesystem::path()}) {
        PresetFolders folders(path);
        folders.scan();
        ASSERT_EQ(folders.list().size(), 1u);
        EXPECT_EQ(folders.list()[0].name, "#MAIN FOLDER");
        EXPECT_TRUE(folders.list()[0].files.empty());
    }
    EXPECT_EQ(PresetFolders(folder / "a/b/c").ensureMainFolder(), PresetFault::None);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
    writeBytes(folder / "file", "");
    EXPECT_NE(PresetFolders(folder / "file/below").ensureMainFolder(), PresetFault::None);
    EXPECT_EQ(PresetFolders({}).ensureMainFolder(), PresetFault::NoFolder);
}

#ifndef _WIN32
TEST(PresetFolders, OddNamesAreShownAndStillFound) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.path / "\xC4\t");
    writeBytes(folder.path / "\xC4\t" / "caf\xE9\n.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    ASSERT_EQ(folders.list().size(), 2u);
    EXPECT_EQ(folders.list()[1].name, "Ä ");
    ASSERT_EQ(folders.list()[1].files.size(), 1u);
    EXPECT_EQ(folders.list()[1].files[0].name, "café ");
    EXPECT_TRUE(std::filesystem::exists(folders.list()[1].files[0].file));
    const PresetLocation place{kFromFolder, 1, 0};
    EXPECT_EQ(folders.locateBelow(folders.pathBelow(place)), place);
}
#endif

}  // namespace
}  // namespace Quorvant
