#pragma once

#include "editing/shared_commit.h"

#include <string_view>

namespace larkspool {

/// The frame of every drag: begin, update, end over a snapshot.
///
/// Each update is made from the scene as it was at the begin and the whole way gone since, never from the update before. So no
/// error adds up, and a drag that returns to its start has left no trace.
class Gesture {
public:
    /// Begins: holds the active scene.
    explicit Gesture(SharedCommit& commit) : commit_(commit), before_(commit.state().scene()) {}

    const TweenScene& before() const { return before_; }

    /// Shows the scene that the drag has come to.
    void update(TweenScene scene) { commit_.show(std::move(scene)); }

    /// Ends with one undo step of that name, whether or not a numeric field's gate is open. Where the scene is the one of the
    /// begin, nothing is recorded, and the result is false.
    bool end(std::string_view actionName);

    /// Ends with the scene of the begin and records nothing.
    void cancel() { commit_.show(before_); }

private:
    SharedCommit& commit_;
    TweenScene before_;
};

} // namespace larkspool
