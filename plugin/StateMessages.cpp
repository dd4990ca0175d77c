#include "plugin/StateMessages.h"

#include <algorithm>

namespace Quorvant {

using namespace Steinberg;

namespace {
constexpr Vst::IAttributeList::AttrID kStateAttribute = "State";
}

void sendState(const Vst::ComponentBase& sender, FIDString id, const ComponentState& state) {
    const auto message = owned(sender.allocateMessage());
    Vst::IAttributeList* const content = message ? message->getAttributes() : nullptr;
    if (!content) return;
    message->setMessageID(id);
    const StateBytes bytes = encodeComponentState(state);
    content->setBinary(kStateAttribute, bytes.data(), static_cast<uint32>(bytes.size()));
    sender.sendMessage(message);
}

std::optional<ComponentState> receivedState(Vst::IMessage* message, FIDString id) {
    if (!message || !FIDStringsEqual(message->getMessageID(), id)) return std::nullopt;
    Vst::IAttributeList* const content = message->getAttributes();
    const void* data = nullptr;
    uint32 size = 0;
    StateBytes bytes{};
    if (!content || content->getBinary(kStateAttribute, data, size) != kResultOk ||
        size != bytes.size())
        return std::nullopt;
    std::copy_n(static_cast<const uint8_t*>(data), bytes.size(), bytes.begin());
    return decodeComponentState(bytes);
}

}  // namespace Quorvant
