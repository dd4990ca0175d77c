#include "presets/FactoryBank.h"
#include "presets/PresetFile.h"
#include "presets/PresetFolders.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>

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
    QVXPresetRecord record{};
    for (const char* name : {"plain", "Zwölf Töne", "遅延", "эхо", "🎸 lead", "dots.in.name"}) {
        EXPECT_TRUE(isFileName(name));
        ASSERT_EQ(save(folder / name), PresetFault::None) << name;
        EXPECT_EQ(loadPresetFile(folder.path, name, "", record), PresetFault::None) << name;
        EXPECT_EQ(record, sample());
    }
    EXPECT_EQ(folder.entries(), 6u);  // and no temporary file is left
    for (const auto& [name, sub] : {std::pair{"../plain", ""}, {"plain", ".."}, {"C:plain", ""}})
        EXPECT_EQ(loadPresetFile(folder.path, name, sub, record), PresetFault::BadName) << name;
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

TEST(PresetFile, WhatIsNoOrdinaryFileIsNoPreset) {
    const TestFolder folder;
    QVXPresetRecord record{};
    for (const char* name : {"NUL.qvx", "com1.qvx", "Lpt9.old.qvx", "AUX .qvx"}) {
        EXPECT_EQ(loadPreset(folder / name, record), PresetFault::NotAPreset) << name;
        EXPECT_EQ(save(folder / name), PresetFault::BadName) << name;
        EXPECT_EQ(deletePreset(folder / name), PresetFault::NotAPreset) << name;
#ifndef _WIN32
        writeBytes(folder / name, "");
#endif
    }
#ifndef _WIN32
    ASSERT_EQ(mkfifo((folder / "pipe.qvx").c_str(), 0600), 0);  // opening one waits for a writer
    EXPECT_EQ(loadPreset(folder / "pipe.qvx", record), PresetFault::NotAPreset);
#endif
    writeBytes(folder / "nullpoint.qvx", "");
    PresetFolders folders(folder.path);
    folders.scan();
    EXPECT_EQ(namesOf(folders.list()[0].files), Names{"nullpoint"});
}

#ifndef _WIN32

// What keeps a disk from taking something, from now on in this process.
bool limitFileSizes(const TestFolder&) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}
bool protect(const std::filesystem::path& path, mode_t mode) {
    const bool root = getuid() == 0;  // which is kept from nothing
    return chmod(path.c_str(), mode) == 0 && (!root || (setgid(65534) == 0 && setuid(65534) == 0));
}
bool protectFolder(const TestFolder& folder) {
    return protect(folder.path, 0555);
}
bool protectFile(const TestFolder& folder) {
    return chmod(folder.path.c_str(), 0777) == 0 && protect(folder / "x.qvx", 0444);
}

// In a child: what it gives up of its rights stays given up.
int outcomeOf(bool (*bring)(const TestFolder&), PresetFault fault, const TestFolder& folder) {
    if (!bring(folder)) return 2;
    EXPECT_EQ(save(folder / "x", sample(1)), fault);
    if (bring != protectFile) {
        EXPECT_EQ(save(folder / "new", sample(1)), fault);
    }
    if (bring == protectFolder) {
        EXPECT_EQ(renamePreset(folder / "x.qvx", "z"), fault);
        EXPECT_EQ(deletePreset(folder / "x.qvx"), fault);
        EXPECT_EQ(PresetFolders(folder / "new").ensureMainFolder(), fault);
    }
    EXPECT_TRUE(holdsSample(folder / "x.qvx"));
    EXPECT_EQ(folder.entries(), 1u);  // no half file, no temporary one
    return testing::Test::HasFailure() ? 1 : 0;
}

TEST(PresetFile, StaysWholeWhereADiskTakesNoMore) {
    for (const auto& [bring, fault] : {std::pair{&limitFileSizes, PresetFault::DiskFull},
                                       {protectFolder, PresetFault::ReadOnly},
                                       {protectFile, PresetFault::ReadOnly}}) {
        const TestFolder folder;
        ASSERT_EQ(save(folder / "x"), PresetFault::None);
        EXPECT_EXIT(_exit(outcomeOf(bring, fault, folder)), testing::ExitedWithCode(0), "");
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
    for (const char* file : {"b.qvx",       "A.QVX",     "C.qvx",        "notes.txt",
                             "noextension", ".qvx",      "Alpha/in.qvx", "Alpha/deeper/unseen.qvx",
                             "a 10.qvx",    "A 9 b.qvx", "a 09 c.qvx",   "a 9.qvx",
                             "100.qvx",     "20.qvx",    "Éb.qvx",       "éa.qvx",
                             "Čb.qvx",      "ča.qvx",    "Ωb.qvx",       "ωa.qvx",
                             "Ђb.qvx",      "ђa.qvx",    "Яb.qvx",       "яa.qvx"})
        writeBytes(folder / file, "");
    PresetFolders folders(folder.path);
    testing::internal::CaptureStderr();
    folders.scan();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(namesOf(folders.list()), (Names{"#MAIN FOLDER", "Alpha", "beta", "isfolder.qvx",
                                              "Zulu", "Ärger", "ångström"}));
    EXPECT_EQ(namesOf(folders.list()[0].files),
              (Names{"20", "100", "A", "a 9", "A 9 b", "a 09 c", "a 10", "b", "C", "éa", "Éb", "ča",
                     "Čb", "ωa", "Ωb", "яa", "Яb", "ђa", "Ђb"}));
    EXPECT_EQ(namesOf(folders.list()[1].files), Names{"in"});

    // Files are found by whatever path they are named.
#ifdef _WIN32
    const auto named = folder / "aLPHA/iN.qvx";
#else
    std::filesystem::create_symlink(folder / "Alpha", folder / "link");
    const auto named = folder / "link/in.qvx";
#endif
    EXPECT_EQ(folders.locate(named), (PresetLocation{kFromFolder, 1, 0}));
    EXPECT_EQ(folders.locate(folder / "Alpha/no.qvx"), (PresetLocation{kFromFolder, 1, -1}));
}

TEST(PresetFolders, HoldsOutAgainstNoneAndMany) {
    const TestFolder parent;
    const auto folder = parent / "a/b/c";
    PresetFolders folders(folder);
    folders.scan();
    EXPECT_EQ(namesOf(folders.list()), Names{"#MAIN FOLDER"});
    EXPECT_EQ(PresetFolders({}).ensureMainFolder(), PresetFault::NoFolder);
    EXPECT_EQ(folders.ensureMainFolder(), PresetFault::None);
    for (int i = 1000; i < 1130; ++i)
        std::filesystem::create_directory(folder / ("sub" + std::to_string(i)));
    folders.scan();
    ASSERT_EQ(folders.list().size(), 128u);
    EXPECT_EQ(folders.list()[127].name, "sub1126");
    EXPECT_EQ(folders.locate(folder / "sub1129/x.qvx"), (PresetLocation{kFromFolder, 0, -1}));
}

}  // namespace
}  // namespace Quorvant
