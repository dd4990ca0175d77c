// What the editor asks of the user's desktop.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace VSTGUI {
class CFrame;
}

namespace Quorvant {

// Main thread. Tests put their own in the place of the system's.
class Desk {
  public:
    virtual ~Desk() = default;
    // Asks for a preset file; `done` is not called when the user cancels. False where the system
    // has no such dialog.
    virtual bool askForFile(VSTGUI::CFrame& frame, bool forSaving, const std::string& title,
                            const std::filesystem::path& folder, const std::string& name,
                            std::function<void(std::filesystem::path)> done);
    virtual bool openLink(std::string_view address);
    // The manual that is installed with the plug-in.
    virtual bool openManual();
};

// The manual of the bundle that a module file stands in; empty where there is none.
std::filesystem::path manualOf(const std::filesystem::path& module);

}  // namespace Quorvant
