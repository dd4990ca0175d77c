// Who made which product, in which version: the texts that hosts and the editor show.
#pragma once

namespace Quorvant {

inline constexpr char kProductName[] = "Corvane QVX77x";
inline constexpr char kControllerName[] = "Corvane QVX77xController";
inline constexpr char kProductVersion[] = "2.0.0";
inline constexpr char kSdkVersion[] = "VST 3.7.1";  // the interface level that hosts are told

inline constexpr char kVendorName[] = "quorvant.example";
inline constexpr char kVendorUrl[] = "https://www.quorvant.example";
inline constexpr char kVendorEmail[] = "mailto:support@quorvant.example";

}  // namespace Quorvant
