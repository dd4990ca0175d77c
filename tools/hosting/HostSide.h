// What a host lends to a plug-in: messages, the handler that hears edits, and streams.
#pragma once

#include "pluginterfaces/base/funknownimpl.h"
#include "pluginterfaces/vst/ivstattributes.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "public.sdk/source/common/memorystream.h"
#include "public.sdk/source/vst/hosting/hostclasses.h"

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

using Bytes = std::vector<uint8_t>;

// UTF-8 of a plug-in's String128, and back. What is malformed or too long gives an empty text, or
// false.
std::string fromWide(const Steinberg::Vst::String128 text);
bool toWide(const std::string& utf8, Steinberg::Vst::String128 text);

// The process-wide host application object; never destroyed, since modules may keep it.
Steinberg::Vst::IHostApplication& hostApplication();

// Counts what a controller tells its host. Main thread.
class EditLog
    : public Steinberg::U::Implements<Steinberg::U::Directly<Steinberg::Vst::IComponentHandler,
                                                             Steinberg::Vst::IComponentHandler2>> {
  public:
    struct Edit {
        Steinberg::Vst::ParamID id;
        double value;  // normalised
    };
    std::vector<Edit> edits;  // every performEdit, oldest first
    int begun = 0;
    int ended = 0;
    Steinberg::int32 restartFlags = 0;  // all flags ever asked for, or-ed
    int groupsBegun = 0;
    int groupsEnded = 0;
    std::set<Steinberg::Vst::ParamID> open;  // begun, not ended
    std::vector<std::string> misuses;        // what hosts don't expect, in a sentence each

    Steinberg::tresult PLUGIN_API beginEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API performEdit(Steinberg::Vst::ParamID id,
                                              Steinberg::Vst::ParamValue value) override;
    Steinberg::tresult PLUGIN_API endEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override;
    Steinberg::tresult PLUGIN_API setDirty(Steinberg::TBool) override {
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API requestOpenEditor(Steinberg::FIDString) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::tresult PLUGIN_API startGroupEdit() override { return counted(groupsBegun); }
    Steinberg::tresult PLUGIN_API finishGroupEdit() override { return counted(groupsEnded); }

  private:
    static Steinberg::tresult counted(int& count) {
        ++count;
        return Steinberg::kResultOk;
    }
};

// A stream in memory that also carries the attributes which hosts attach to states.
class StateStream
    : public Steinberg::U::Extends<Steinberg::MemoryStream,
                                   Steinberg::U::Directly<Steinberg::Vst::IStreamAttributes>> {
  public:
    StateStream() = default;
    explicit StateStream(std::span<const uint8_t> content);  // copies, position at the start

    Bytes bytes() const;

    Steinberg::tresult PLUGIN_API getFileName(Steinberg::Vst::String128) override {
        return Steinberg::kNotImplemented;
    }
    Steinberg::Vst::IAttributeList* PLUGIN_API getAttributes() override { return attributes; }

  private:
    Steinberg::IPtr<Steinberg::Vst::IAttributeList> attributes =
        Steinberg::Vst::HostAttributeList::make();
};

}  // namespace Quorvant::Hosting
