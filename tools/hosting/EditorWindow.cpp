#include "tools/hosting/EditorWindow.h"

#include "tools/hosting/Text.h"

namespace Quorvant::Hosting {

using namespace Steinberg;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kPause{5};

ViewRect sizeOf(IPlugView& view) {
    ViewRect size;
    view.getSize(&size);
    return size;
}

}  // namespace

EditorWindow::~EditorWindow() {
    close();
}

void EditorWindow::show(HostedPlugin& plugin, FIDString platform, IPlugFrame* frame) {
    const std::string name = inQuotes(plugin.name());
    plugView = owned(plugin.controller()->createView(Vst::ViewType::kEditor));
    if (!plugView) throw Failure{name + " has no editor"};
    if (plugView->isPlatformTypeSupported(platform) != kResultTrue)
        throw Failure{"the editor of " + name + " knows no windows of this system"};
    void* const parent = makeWindow(plugin.name());
    if (parent == nullptr) throw Failure{"there is no display to open it on"};
    plugView->setFrame(frame);
    attached = plugView->attached(parent, platform) == kResultOk;
    if (!attached) throw Failure{"the editor of " + name + " refused to open"};
}

void EditorWindow::close() {
    if (attached) plugView->removed();
    attached = false;
    if (plugView) plugView->setFrame(nullptr);
    plugView = nullptr;
}

int EditorWindow::width() const {
    return sizeOf(*plugView).getWidth();
}

int EditorWindow::height() const {
    return sizeOf(*plugView).getHeight();
}

bool EditorWindow::setWidth(int pixels) {
    ViewRect wanted = sizeOf(*plugView);
    wanted.bottom = wanted.top + wanted.getHeight() * pixels / wanted.getWidth();
    wanted.right = wanted.left + pixels;
    return plugView->canResize() == kResultTrue &&
           plugView->checkSizeConstraint(&wanted) == kResultTrue && resizeTo(wanted) == kResultTrue;
}

bool EditorWindow::runUntil(const std::function<bool()>& done, milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!closed) {
        if (done()) return true;
        if (Clock::now() >= end) return false;
        turn(kPause);
    }
    return false;
}

void EditorWindow::pass(milliseconds time) {
    runUntil([] { return false; }, time);
}

tresult EditorWindow::resizeTo(const ViewRect& size) {
    ViewRect granted = size;
    resizeWindow(size.getWidth(), size.getHeight());
    return plugView->onSize(&granted);
}

void EditorWindow::follow(int newWidth, int newHeight) {
    if (newWidth == width() && newHeight == height()) return;
    ViewRect wanted(0, 0, newWidth, newHeight);
    if (plugView->canResize() != kResultTrue) wanted = sizeOf(*plugView);
    plugView->checkSizeConstraint(&wanted);
    resizeTo(wanted);
}

}  // namespace Quorvant::Hosting
