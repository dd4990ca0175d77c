// A value or one sentence that says why there is none.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <variant>

namespace Quorvant::Hosting {

struct Error {
    std::string sentence;  // for people to read, without a full stop
};

// The same on its way to main().
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <typename Value = std::monostate>
class [[nodiscard]] Result {
  public:
    Result() = default;
    Result(Value value) : content(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const { return content.index() == 0; }
    // Only where the result holds a value; throws std::bad_variant_access otherwise.
    Value& operator*() { return std::get<0>(content); }
    const Value& operator*() const { return std::get<0>(content); }
    Value* operator->() { return &std::get<0>(content); }
    const Value* operator->() const { return &std::get<0>(content); }
    // Empty where there is none.
    std::string error() const {
        const Error* failure = std::get_if<1>(&content);
        return failure != nullptr ? failure->sentence : std::string();
    }

  private:
    std::variant<Value, Error> content;
};

template <typename Value>
Value orThrow(Result<Value> result) {
    if (!result) throw Failure(result.error());
    return std::move(*result);
}

}  // namespace Quorvant::Hosting
