#pragma once
// The composing code's door into the private state of the three classes.
// Each class keeps that state in one private struct and befriends this one
// accessor, so the public headers carry no further friendships.

namespace brelvane::internal {

struct Access {
  template <class Object>
  static auto& of(Object& object) {
    return object.private_;
  }
};

}  // namespace brelvane::internal
