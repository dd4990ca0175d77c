#include "gui/Clipboard.h"

#include <vstgui/lib/cdropsource.h>
#include <vstgui/lib/platform/platformfactory.h>

#ifdef _WIN32

namespace Quorvant {

ClipboardUse::ClipboardUse() {}
ClipboardUse::~ClipboardUse() {}
bool fetchClipboard(std::function<void()>) {
    return false;
}

}  // namespace Quorvant

#else

#include "platform/Utf8Path.h"

#include <vstgui/lib/platform/linux/x11platform.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

// Defined by the copy of VSTGUI's factory that the build makes.
namespace VSTGUI {
extern bool (*clipboardWriter)(const SharedPointer<IDataPackage>&);
extern SharedPointer<IDataPackage> (*clipboardReader)();
}  // namespace VSTGUI

namespace Quorvant {
namespace {

using VSTGUI::IDataPackage;
using VSTGUI::SharedPointer;

constexpr std::size_t kLongest = 4096;  // bytes: fields are one line

template <typename Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

// One line without control characters.
std::string oneLine(std::string_view text) {
    text = text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
    std::string line = validUtf8(cutUtf8(text, kLongest));
    std::erase_if(line, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
    return line;
}

// A connection and a window of its own, since VSTGUI's drops what owners of selections are sent.
class Clipboard final : public VSTGUI::X11::IEventHandler {
  public:
    Clipboard() : loop(VSTGUI::X11::RunLoop::get()), connection(xcb_connect(nullptr, nullptr)) {
        if (!works()) return;
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        window = xcb_generate_id(connection);
        xcb_create_window(connection, 0, window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        clipboard = atom("CLIPBOARD");
        targets = atom("TARGETS");
        utf8 = atom("UTF8_STRING");
        loop->registerEventHandler(xcb_get_file_descriptor(connection), this);
    }
    ~Clipboard() {
        if (works()) loop->unregisterEventHandler(this);
        xcb_disconnect(connection);
    }

    bool put(std::string newText) {
        if (!works()) return false;
        text = std::move(newText);
        xcb_set_selection_owner(connection, window, clipboard, XCB_CURRENT_TIME);
        owner = true;
        xcb_flush(connection);
        return true;
    }
    const std::string& get() const { return text; }
    bool fetch(std::function<void()> what) {
        if (owner || !works()) return false;
        text.clear();
        then = std::move(what);
        xcb_convert_selection(connection, window, clipboard, utf8, utf8, XCB_CURRENT_TIME);
        xcb_flush(connection);
        return true;
    }

  private:
    bool works() const { return loop && !xcb_connection_has_error(connection); }
    xcb_atom_t atom(std::string_view name) {
        const Owned<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(
                connection,
                xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data()),
                nullptr),
            &std::free);
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }

    void onEvent() override {
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection), &std::free}) {
            switch (event->response_type & 0x7f) {
                case XCB_SELECTION_REQUEST:
                    answer(*reinterpret_cast<xcb_selection_request_event_t*>(event.get()));
                    break;
                case XCB_SELECTION_CLEAR:
                    owner = false;
                    break;
                case XCB_SELECTION_NOTIFY:
                    take(*reinterpret_cast<xcb_selection_notify_event_t*>(event.get()));
                    break;
            }
        }
    }
    void answer(const xcb_selection_request_event_t& request) {
        const xcb_atom_t property =
            request.property != XCB_ATOM_NONE ? request.property : request.target;
        xcb_selection_notify_event_t reply{};
        reply.response_type = XCB_SELECTION_NOTIFY;
        reply.time = request.time;
        reply.requestor = request.requestor;
        reply.selection = request.selection;
        reply.target = request.target;
        reply.property = property;
        if (request.target == targets) {
            const xcb_atom_t offered[] = {targets, utf8};
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, request.requestor, property,
                                XCB_ATOM_ATOM, 32, std::size(offered), offered);
        } else if (request.target == utf8) {
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, request.requestor, property,
                                utf8, 8, static_cast<uint32_t>(text.size()), text.data());
        } else {
            reply.property = XCB_ATOM_NONE;
        }
        xcb_send_event(connection, 0, request.requestor, 0, reinterpret_cast<const char*>(&reply));
        xcb_flush(connection);
    }
    void take(const xcb_selection_notify_event_t& notice) {
        if (notice.property != XCB_ATOM_NONE) {
            const Owned<xcb_get_property_reply_t> reply(
                xcb_get_property_reply(
                    connection,
                    xcb_get_property(connection, 1, window, notice.property, utf8, 0, kLongest / 4),
                    nullptr),
                &std::free);
            // Another type stands for a text that comes in pieces: too long for a field.
            if (reply && reply->type == utf8) {
                text =
                    oneLine({static_cast<const char*>(xcb_get_property_value(reply.get())),
                             static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))});
            }
        }
        if (const auto action = std::exchange(then, nullptr)) action();
    }

    const SharedPointer<VSTGUI::X11::IRunLoop> loop;
    xcb_connection_t* const connection;
    xcb_window_t window = 0;
    xcb_atom_t clipboard = 0, targets = 0, utf8 = 0;
    std::string text;
    bool owner = false;
    std::function<void()> then;
};

int users = 0;
std::optional<Clipboard> theClipboard;

Clipboard& clipboard() {
    if (!theClipboard) theClipboard.emplace();
    return *theClipboard;
}

bool write(const SharedPointer<IDataPackage>& data) {
    const void* buffer = nullptr;
    auto type = IDataPackage::kError;
    const uint32_t size = data ? data->getData(0, buffer, type) : 0;
    if (type != IDataPackage::kText) return false;
    return clipboard().put(std::string(static_cast<const char*>(buffer), size));
}

SharedPointer<IDataPackage> read() {
    const std::string& text = clipboard().get();
    return VSTGUI::CDropSource::create(text.data(), static_cast<uint32_t>(text.size()),
                                       IDataPackage::kText);
}

}  // namespace

ClipboardUse::ClipboardUse() {
    ++users;
    VSTGUI::clipboardWriter = write;
    VSTGUI::clipboardReader = read;
}

ClipboardUse::~ClipboardUse() {
    if (--users == 0) theClipboard.reset();
}

bool fetchClipboard(std::function<void()> then) {
    return clipboard().fetch(std::move(then));
}

}  // namespace Quorvant

#endif

namespace Quorvant {

bool copyToClipboard(const std::string& text) {
    return VSTGUI::getPlatformFactory().setClipboard(
        VSTGUI::CDropSource::create(text.data(), static_cast<uint32_t>(text.size()),
                                    VSTGUI::IDataPackage::kText));
}

void takeFromClipboard(std::function<void(std::string)> take) {
    const auto hand = [take = std::move(take)] {
        const auto data = VSTGUI::getPlatformFactory().getClipboard();
        const void* buffer = nullptr;
        auto type = VSTGUI::IDataPackage::kError;
        const uint32_t size =
            data && data->getCount() > 0 ? data->getData(0, buffer, type) : 0;
        const bool isText = type == VSTGUI::IDataPackage::kText;
        take(isText ? std::string(static_cast<const char*>(buffer), size) : std::string());
    };
    if (!fetchClipboard(hand)) hand();
}

}  // namespace Quorvant
