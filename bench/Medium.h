// Whether saves reach the medium. The benchmark is linked with a system of its own in place of the
// libraries': the real one, but flushing does nothing unless a measurement asks for it. What a medium takes
// for a flush says nothing about the store.
#pragma once

namespace Bench {

// Saves flush as long as an object of this class lives.
class Flushing {
public:
    Flushing();
    ~Flushing();
    Flushing(const Flushing&) = delete;
    Flushing& operator=(const Flushing&) = delete;
};

}  // namespace Bench
