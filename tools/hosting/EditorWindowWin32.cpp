#include "tools/hosting/EditorWindow.h"

#include "pluginterfaces/base/funknownimpl.h"
#include "pluginterfaces/base/keycodes.h"
#include <windows.h>
// Needs the types of windows.h.
#include <windowsx.h>

#include <algorithm>
#include <string>

namespace Quorvant::Hosting {
namespace {

using namespace Steinberg;
using std::chrono::milliseconds;

constexpr wchar_t kClassName[] = L"CorvaneHostEditor";

constexpr int kPlaces = 3, kStep = 400;  // pixels

class Frame final : public U::Implements<U::Directly<IPlugFrame>> {
  public:
    std::function<tresult(const ViewRect&)> onResize;

    tresult PLUGIN_API resizeView(IPlugView*, ViewRect* size) override {
        return size != nullptr && onResize ? onResize(*size) : kInvalidArgument;
    }
};

bool underWine() {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return system != nullptr && GetProcAddress(system, "wine_get_version") != nullptr;
}

class Window final : public EditorWindow {
  public:
    ~Window() override {
        close();
        frame->onResize = nullptr;
        if (window != nullptr) DestroyWindow(window);
    }

    Result<> open(HostedPlugin& plugin) {
        frame->onResize = [this](const ViewRect& size) { return resizeTo(size); };
        if (auto shown = show(plugin, kPlatformTypeHWND, frame); !shown) return shown;
        inner = GetWindow(window, GW_CHILD);
        if (underWine() && inner != nullptr) standAlone();
        ShowWindow(window, underWine() ? SW_SHOWNOACTIVATE : SW_SHOWNORMAL);
        if (underWine())
            SetWindowPos(window, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
        return {};
    }

    Pixels pixels() override {
        Pixels result;
        if (inner == nullptr) return result;
        BITMAPINFO format{};
        format.bmiHeader.biSize = sizeof format.bmiHeader;
        format.bmiHeader.biWidth = width();
        format.bmiHeader.biHeight = -height();  // from the top
        format.bmiHeader.biPlanes = 1;
        format.bmiHeader.biBitCount = 32;
        format.bmiHeader.biCompression = BI_RGB;
        void* memory = nullptr;
        const HDC source = GetDC(inner);
        const HDC copy = CreateCompatibleDC(source);
        const HBITMAP bitmap = CreateDIBSection(copy, &format, DIB_RGB_COLORS, &memory, nullptr, 0);
        if (bitmap != nullptr) {
            const HGDIOBJ former = SelectObject(copy, bitmap);
            if (BitBlt(copy, 0, 0, width(), height(), source, 0, 0, SRCCOPY) != 0) {
                GdiFlush();
                const auto* values = static_cast<const uint32_t*>(memory);
                result = {width(), height(), {values, values + width() * height()}};
                for (uint32_t& value : result.values) value &= 0xffffffu;
            }
            SelectObject(copy, former);
            DeleteObject(bitmap);
        }
        DeleteDC(copy);
        ReleaseDC(inner, source);
        return result;
    }

    void point(Pointer action, int x, int y, Button button, int modifiers) override {
        const bool wheel = button >= Button::WheelUp;
        const int which = std::min(static_cast<int>(button), 3) - 1;
        constexpr WPARAM kDown[] = {MK_LBUTTON, MK_MBUTTON, MK_RBUTTON};
        constexpr UINT kPress[] = {WM_LBUTTONDOWN, WM_MBUTTONDOWN, WM_RBUTTONDOWN};
        constexpr UINT kRelease[] = {WM_LBUTTONUP, WM_MBUTTONUP, WM_RBUTTONUP};
        WPARAM keys =
            (modifiers & kShiftKey ? MK_SHIFT : 0u) | (modifiers & kCommandKey ? MK_CONTROL : 0u);
        POINT place = {x, y};
        if (wheel) {
            ClientToScreen(inner, &place);
            keys |= static_cast<WPARAM>(static_cast<uint16_t>(
                        button == Button::WheelUp ? WHEEL_DELTA : -WHEEL_DELTA))
                    << 16;
        } else if (action == Pointer::Press || action == Pointer::Drag) {
            keys |= kDown[which];
        }
        const UINT message = wheel                        ? WM_MOUSEWHEEL
                             : action == Pointer::Press   ? kPress[which]
                             : action == Pointer::Release ? kRelease[which]
                                                          : WM_MOUSEMOVE;
        PostMessageW(inner, message, keys, MAKELPARAM(place.x, place.y));
    }

  protected:
    void turn(milliseconds pause) override {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(pause.count()),
                                  QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    void resizeWindow(int newWidth, int newHeight) override {
        RECT whole = {0, 0, newWidth, newHeight};
        AdjustWindowRect(&whole, WS_OVERLAPPEDWINDOW, FALSE);
        SetWindowPos(window, nullptr, 0, 0, whole.right - whole.left, whole.bottom - whole.top,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }

  private:
    void* makeWindow(const std::string& title) override {
        WNDCLASSW type{};
        type.lpfnWndProc = handle;
        type.hInstance = GetModuleHandleW(nullptr);
        type.lpszClassName = kClassName;
        RegisterClassW(&type);  // once is enough
        RECT whole = {0, 0, width(), height()};
        AdjustWindowRect(&whole, WS_OVERLAPPEDWINDOW, FALSE);
        Vst::String128 wide{};
        toWide(title, wide);
        window =
            CreateWindowW(kClassName, reinterpret_cast<const wchar_t*>(wide), WS_OVERLAPPEDWINDOW,
                          CW_USEDEFAULT, CW_USEDEFAULT, whole.right - whole.left,
                          whole.bottom - whole.top, nullptr, nullptr, type.hInstance, nullptr);
        if (window != nullptr)
            SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        return window;
    }
    // Wine shows what Direct2D draws only in windows that stand on the desktop themselves, and only
    // where no other one covers them.
    void standAlone() {
        static int next = 0;
        SetParent(inner, nullptr);
        SetWindowPos(inner, HWND_TOP, 0, next * kStep, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
        next = (next + 1) % kPlaces;
    }
    static LRESULT CALLBACK handle(HWND window, UINT message, WPARAM first, LPARAM second) {
        auto* self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self != nullptr && message == WM_CLOSE) {
            self->closed = true;
            return 0;
        }
        if (self != nullptr && message == WM_SIZE && first != SIZE_MINIMIZED && self->attached)
            self->follow(GET_X_LPARAM(second), GET_Y_LPARAM(second));
        return DefWindowProcW(window, message, first, second);
    }

    const IPtr<Frame> frame = owned(new Frame);
    HWND window = nullptr;
    HWND inner = nullptr;  // the view's own
};

}  // namespace

Result<EditorWindow::Ptr> EditorWindow::open(HostedPlugin& plugin) {
    auto window = std::make_unique<Window>();
    if (auto opened = window->open(plugin); !opened) return Error{opened.error()};
    return Ptr(std::move(window));
}

}  // namespace Quorvant::Hosting
