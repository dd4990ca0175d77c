#include "tools/hosting/HostSide.h"

#include "public.sdk/source/vst/utility/stringconvert.h"

#include <stdexcept>
#include <string>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

std::string fromWide(const String128 text) {
    try {
        return VST3::StringConvert::convert(text, 128);
    } catch (const std::range_error&) {
        return {};
    }
}

bool toWide(const std::string& utf8, String128 text) {
    try {
        return VST3::StringConvert::convert(utf8, text);
    } catch (const std::range_error&) {
        return false;
    }
}

IHostApplication& hostApplication() {
    static auto* host = new HostApplication;
    return *host;
}

tresult EditLog::beginEdit(ParamID id) {
    ++begun;
    if (!open.insert(id).second)
        misuses.push_back("an edit of " + std::to_string(id) + " begins within one");
    return kResultOk;
}

tresult EditLog::performEdit(ParamID id, ParamValue value) {
    edits.push_back({id, value});
    if (!open.contains(id)) misuses.push_back(std::to_string(id) + " is set outside of an edit");
    if (!(value >= 0.0 && value <= 1.0))
        misuses.push_back(std::to_string(id) + " is set beyond 0 ... 1");
    return kResultOk;
}

tresult EditLog::endEdit(ParamID id) {
    ++ended;
    if (open.erase(id) == 0)
        misuses.push_back("an edit of " + std::to_string(id) + " ends that never began");
    return kResultOk;
}

tresult EditLog::restartComponent(int32 flags) {
    restartFlags |= flags;
    return kResultOk;
}

StateStream::StateStream(std::span<const uint8_t> content) {
    // The SDK's signature lacks the const, nothing is written through it.
    write(const_cast<uint8_t*>(content.data()), static_cast<int32>(content.size()), nullptr);
    seek(0, kIBSeekSet, nullptr);
}

Bytes StateStream::bytes() const {
    const auto* first = reinterpret_cast<const uint8_t*>(getData());
    return first != nullptr ? Bytes(first, first + getSize()) : Bytes();
}

}  // namespace Quorvant::Hosting
