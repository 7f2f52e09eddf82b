// Errors as values: a Result holds what was asked for, or the Problem that stood in the way.
//
// Owns no knowledge of animation.
#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace cadencora::stage {

// One thing that went wrong, in words for the user.
struct Problem {
    std::string what;   // what failed: "cannot read the file"
    std::string where;  // the place: a file, "walk.bvh:12", a button; may be empty
    std::string detail; // what was expected, or the alternatives; may be empty

    // "where: what (detail)" on one line.
    std::string text() const;

    bool operator==(const Problem&) const = default;
};

// Where an allocation has failed.
inline Problem outOfMemory(std::string where = {}) {
    return {"there is not enough memory for this", std::move(where), {}};
}

// Either a T or a Problem. `Result<>` has no value: it is done, or it is a Problem.
template <class T = std::monostate>
class [[nodiscard]] Result {
public:
    Result(T value) : held_(std::in_place_index<0>, std::move(value)) {}
    Result(Problem problem) : held_(std::in_place_index<1>, std::move(problem)) {}

    bool ok() const { return held_.index() == 0; }
    explicit operator bool() const { return ok(); }

    // The value; only after ok().
    T& value() & { return std::get<0>(held_); }
    const T& value() const& { return std::get<0>(held_); }
    T&& value() && { return std::get<0>(std::move(held_)); }
    T& operator*() { return value(); }
    T* operator->() { return &value(); }

    // The problem; only after !ok().
    Problem& problem() & { return std::get<1>(held_); }
    const Problem& problem() const& { return std::get<1>(held_); }
    Problem&& problem() && { return std::get<1>(std::move(held_)); }

private:
    std::variant<T, Problem> held_;
};

inline Result<> done() {
    return std::monostate{};
}

} // namespace cadencora::stage
