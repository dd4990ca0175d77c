#include "presets/FactoryBank.h"
#include "presets/PresetFile.h"
#include "presets/PresetFolders.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

using Names = std::vector<std::string>;

const QVXPresetRecord& sample(std::size_t index = 7) {
    static const FactoryBank bank = buildFactoryBank();
    return bank[index];
}

PresetFault save(const std::filesystem::path& file, const QVXPresetRecord& record = sample()) {
    return savePreset(file, record, {});
}

bool holdsSample(const std::filesystem::path& file) {
    QVXPresetRecord record{};
    return loadPreset(file, record) == PresetFault::None && record == sample();
}

template <typename Entry>
Names namesOf(const std::vector<Entry>& entries) {
    Names names;
    for (const auto& entry : entries) names.push_back(entry.name);
    return names;
}

TEST(PresetFile, RoundTripsUnderAnyName) {
    const TestFolder folder;
    for (const char* name : {"plain", "Zwölf Töne", "遅延", "эхо", "🎸 lead", "dots.in.name"}) {
        EXPECT_TRUE(isFileName(name));
        ASSERT_EQ(save(folder / name), PresetFault::None) << name;
        QVXPresetRecord record{};
        ASSERT_EQ(loadPresetFile(folder.path, name, "", record), PresetFault::None) << name;
        EXPECT_EQ(record, sample());
        EXPECT_TRUE(std::filesystem::exists(folder / (std::string(name) + ".qvx")));
    }
    EXPECT_EQ(folder.entries(), 6u);  // and no temporary file is left
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
    EXPECT_EQ(save(folder.path / ""), PresetFault::BadName);
#ifndef _WIN32
    EXPECT_EQ(save(folder / std::string(300, 'x')), PresetFault::BadName);
#endif
}

TEST(PresetFile, DevicesAreNoPresetFiles) {
    const TestFolder folder;
    QVXPresetRecord record{};
    for (const char* name : {"NUL.qvx", "com1.qvx", "Lpt9.old.qvx", "AUX .qvx"}) {
        const auto file = folder / name;
        EXPECT_EQ(save(file), PresetFault::BadName) << name;
        EXPECT_EQ(loadPreset(file, record), PresetFault::NotAPreset) << name;
        EXPECT_EQ(deletePreset(file), PresetFault::NotAPreset) << name;
#ifndef _WIN32
        writeBytes(file, "");
#endif
    }
    writeBytes(folder / "nullpoint.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    EXPECT_EQ(namesOf(folders.list()[0].files), Names{"nullpoint"});
}

TEST(PresetFile, SavingReplacesInOnePiece) {
    const TestFolder folder;
    const auto file = folder / "x.qvx";
    ASSERT_EQ(save(file), PresetFault::None);
    // A reader that looks all the while never finds half a file.
    std::thread writer([&] {
        for (std::size_t i = 0; i < 100; ++i) save(file, sample(i % 2));
    });
    for (int i = 0; i < 100; ++i) {
        const std::string bytes = readBytes(file);
#ifdef _WIN32
        if (bytes.empty()) continue;  // the moment of replacing locks readers out there
#endif
        EXPECT_EQ(bytes.size(), 1425u);
    }
    writer.join();
    EXPECT_EQ(folder.entries(), 1u);
}

TEST(PresetFile, ExtremeFilesAreNoPresets) {
    const TestFolder folder;
    Names names = {"folder.qvx", "huge.qvx"};
    std::filesystem::create_directories(folder / "folder.qvx");
    // A sparse gigabyte: only its front may be read.
    writeBytes(folder / "huge.qvx", "y");
    std::filesystem::resize_file(folder / "huge.qvx", 1u << 30);
#ifndef _WIN32
    ASSERT_EQ(mkfifo((folder / "pipe.qvx").c_str(), 0600), 0);  // opening one waits for a writer
    std::filesystem::create_symlink(folder / "loop.qvx", folder / "loop.qvx");
    names.insert(names.end(), {"pipe.qvx", "loop.qvx"});
#endif
    for (const auto& name : names) {
        QVXPresetRecord record = sample();
        EXPECT_NE(loadPreset(folder / name, record), PresetFault::None) << name;
        EXPECT_EQ(record, sample()) << name;
    }
}

#ifndef _WIN32

// What keeps a disk from taking something.
struct DiskFault {
    const char* name;
    bool (*bring)(const TestFolder&);
    PresetFault fault;
    bool overwritingOnly;  // whether other files can still be made, renamed and deleted
};

bool limitFileSizes(const TestFolder&) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}
bool becomeNobody() {
    return getuid() != 0 || (setgid(65534) == 0 && setuid(65534) == 0);
}
bool protectFolder(const TestFolder& folder) {
    return chmod(folder.path.c_str(), 0555) == 0 && becomeNobody();
}
bool protectFile(const TestFolder& folder) {
    return chmod(folder.path.c_str(), 0777) == 0 && chmod((folder / "x.qvx").c_str(), 0444) == 0 &&
           becomeNobody();
}

constexpr DiskFault kDiskFaults[] = {
    {"limit of file sizes", limitFileSizes, PresetFault::DiskFull, false},
    {"protected folder", protectFolder, PresetFault::ReadOnly, false},
    {"protected file", protectFile, PresetFault::ReadOnly, true},
};

void meet(const DiskFault& disk, const TestFolder& folder) {
    EXPECT_EQ(save(folder / "x", sample(1)), disk.fault);
    EXPECT_TRUE(holdsSample(folder / "x.qvx"));
    EXPECT_EQ(folder.entries(), 1u);  // no half file, no temporary one
    if (disk.overwritingOnly) return;
    EXPECT_EQ(save(folder / "new", sample(1)), disk.fault);
    EXPECT_EQ(folder.entries(), 1u);
    if (disk.fault != PresetFault::ReadOnly) return;
    EXPECT_EQ(renamePreset(folder / "x.qvx", "z"), disk.fault);
    EXPECT_EQ(deletePreset(folder / "x.qvx"), disk.fault);
    EXPECT_EQ(PresetFolders(folder / "new").ensureMainFolder(), disk.fault);
    EXPECT_TRUE(holdsSample(folder / "x.qvx"));
}

// In a child: what it gives up of its rights stays given up.
int outcomeOf(const DiskFault& disk, const TestFolder& folder) {
    if (!disk.bring(folder)) return 2;
    meet(disk, folder);
    return testing::Test::HasFailure() ? 1 : 0;
}
TEST(PresetFile, StaysWholeWhereADiskTakesNoMore) {
    for (const auto& disk : kDiskFaults) {
        const TestFolder folder;
        ASSERT_EQ(save(folder / "x"), PresetFault::None);
        EXPECT_EXIT(_exit(outcomeOf(disk, folder)), testing::ExitedWithCode(0), "") << disk.name;
    }
    const auto writeProtected = std::make_error_code(std::errc::read_only_file_system);
    EXPECT_EQ(presetFault(writeProtected, PresetFault::NotFound), PresetFault::ReadOnly);
}

TEST(PresetFile, LinksStayLinks) {
    const TestFolder folder;
    std::filesystem::create_directories(folder / "elsewhere");
    ASSERT_EQ(save(folder / "elsewhere/real", sample(1)), PresetFault::None);
    std::filesystem::create_symlink(folder / "elsewhere/real.qvx", folder / "link.qvx");
    ASSERT_EQ(save(folder / "link.qvx"), PresetFault::None);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.qvx"));
    EXPECT_TRUE(holdsSample(folder / "elsewhere/real.qvx"));
}

TEST(PresetFolders, OddNamesAreShownAndStillFound) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.path / "\xC4\t");
    writeBytes(folder.path / "\xC4\t" / "caf\xE9\n.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    EXPECT_EQ(namesOf(folders.list()), (Names{"#MAIN FOLDER", "Ä "}));
    EXPECT_EQ(namesOf(folders.list()[1].files), Names{"café "});
    EXPECT_TRUE(std::filesystem::exists(folders.list()[1].files[0].file));
    const PresetLocation place{kFromFolder, 1, 0};
    EXPECT_EQ(folders.locateBelow(folders.pathBelow(place)), place);
}

#else

TEST(PresetFile, WriteProtectedFileIsTold) {
    const TestFolder folder;
    const auto file = folder / "x.qvx";
    ASSERT_EQ(save(file), PresetFault::None);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(save(file, sample(1)), PresetFault::ReadOnly);
    std::filesystem::permissions(file, std::filesystem::perms::all);
    EXPECT_TRUE(holdsSample(file));
}

#endif

TEST(PresetFolders, ListsOneLevelInNaturalOrderAndInSilence) {
    const TestFolder folder;
    for (const char* sub : {"beta", "Alpha/deeper", "ångström", "Ärger", "Zulu", "isfolder.qvx"})
        std::filesystem::create_directories(folder / sub);
    for (const char* file : {"b.qvx", "A.QVX", "C.qvx", "notes.txt", "noextension", ".qvx",
                             "Alpha/in.qvx", "Alpha/deeper/unseen.qvx", "a 10.qvx", "A 9 b.qvx",
                             "a 09 c.qvx", "a 9.qvx", "100.qvx", "20.qvx"})
        writeBytes(folder / file, "");
    PresetFolders folders(folder.path);
    testing::internal::CaptureStderr();
    folders.scan();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(namesOf(folders.list()), (Names{"#MAIN FOLDER", "Alpha", "beta", "isfolder.qvx",
                                              "Zulu", "Ärger", "ångström"}));
    EXPECT_EQ(namesOf(folders.list()[0].files),
              (Names{"20", "100", "A", "a 9", "A 9 b", "a 09 c", "a 10", "b", "C"}));
    EXPECT_EQ(namesOf(folders.list()[1].files), Names{"in"});
}

TEST(PresetFolders, HoldsOutAgainstMany) {
    const TestFolder folder;
    for (int i = 1000; i < 1130; ++i)
        std::filesystem::create_directories(folder / ("sub" + std::to_string(i)));
    for (int i = 1000; i < 2000; ++i)
        writeBytes(folder / ("sub1007/" + std::to_string(i) + ".qvx"), "");
    PresetFolders folders(folder.path);
    folders.scan();
    ASSERT_EQ(folders.list().size(), 128u);
    EXPECT_EQ(folders.list()[127].name, "sub1126");
    EXPECT_EQ(folders.list()[8].files.size(), 1000u);
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
        EXPECT_EQ(namesOf(folders.list()), Names{"#MAIN FOLDER"});
        EXPECT_TRUE(folders.list()[0].files.empty());
    }
    EXPECT_EQ(PresetFolders(folder / "a/b/c").ensureMainFolder(), PresetFault::None);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
    writeBytes(folder / "file", "");
    EXPECT_NE(PresetFolders(folder / "file/below").ensureMainFolder(), PresetFault::None);
    EXPECT_EQ(PresetFolders({}).ensureMainFolder(), PresetFault::NoFolder);
}

}  // namespace
}  // namespace Quorvant
