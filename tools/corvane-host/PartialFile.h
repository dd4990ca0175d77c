// A file under a temporary name that takes its real name only once it is complete.
#pragma once

#include "tools/hosting/Result.h"

#include <string>

namespace Quorvant::Hosting {

// Removes itself unless kept, also when the process is interrupted or a plug-in crashes.
// One at a time in a process.
class PartialFile {
  public:
    explicit PartialFile(std::string path);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    const std::string& temporaryPath() const { return temporary; }
    // Gives the file its name, in place of a former one. Close it first.
    void keep();

  private:
    std::string path, temporary;
};

// An error where there is no folder to put the file into.
void checkFolder(const std::string& path);

// Ends the process with status 1 and one sentence when a plug-in crashes, and tidies up then and
// on interruption. Call once, first.
void tidyUpOnSignals();

}  // namespace Quorvant::Hosting
