#include "gui/Desk.h"

#include "platform/Desktop.h"
#include "platform/Folders.h"
#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"

#include <vstgui/lib/cfileselector.h>
#include <vstgui/lib/cframe.h>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

// On Linux the dialogs are programs of their own.
bool hasFileDialogs() {
#ifdef _WIN32
    return true;
#else
    return access("/usr/bin/zenity", X_OK) == 0 || access("/usr/bin/kdialog", X_OK) == 0;
#endif
}

}  // namespace

bool Desk::askForFile(VSTGUI::CFrame& frame, bool forSaving, const std::string& title,
                      const std::filesystem::path& folder, const std::string& name,
                      std::function<void(std::filesystem::path)> done) {
    using VSTGUI::CNewFileSelector;
    if (!frame.getPlatformFrame() || !hasFileDialogs()) return false;
    const auto selector = VSTGUI::owned(CNewFileSelector::create(
        &frame, forSaving ? CNewFileSelector::kSelectSaveFile : CNewFileSelector::kSelectFile));
    if (!selector) return false;
    selector->setTitle(title.c_str());
#ifdef _WIN32
    selector->setInitialDirectory(utf8FromPath(folder).c_str());
    selector->setDefaultSaveName(name.c_str());
#else
    // VSTGUI hands on one path, which for zenity and kdialog may end in the proposed name.
    selector->setInitialDirectory((utf8FromPath(folder) + "/" + name).c_str());
#endif
    selector->setDefaultExtension(
        VSTGUI::CFileExtension(kPresetFileType, std::string(kPresetExtension.substr(1)).c_str()));
    selector->addFileExtension(
        VSTGUI::CFileExtension(kPresetFileType, std::string(kPresetExtension.substr(1)).c_str()));
    return selector->run([done = std::move(done)](CNewFileSelector* result) {
        if (result->getNumSelectedFiles() > 0) done(pathFromUtf8(result->getSelectedFile(0)));
    });
}

bool Desk::openLink(std::string_view address) {
    return Quorvant::openLink(address);
}

bool Desk::openManual() {
    return openPath(manualOf(moduleFile()));
}

std::filesystem::path manualOf(const std::filesystem::path& module) {
    const auto manual = module.parent_path().parent_path() / "Resources" / "manual.html";
    std::error_code error;
    return std::filesystem::is_regular_file(manual, error) ? manual : std::filesystem::path();
}

}  // namespace Quorvant
