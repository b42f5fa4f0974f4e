#pragma once

#include <mutex>
#include <utility>

namespace standin {

/// A value and the mutex that protects it. The mutex is a leaf: `use` must not call out of the stand-in and
/// must not touch another guarded value.
template <typename T>
class Guarded {
public:
    template <typename Use>
    auto with(Use&& use) {
        const std::lock_guard guard(mutex_);
        return std::forward<Use>(use)(value_);
    }

    /// Replaces the value; the old one is destroyed after the mutex is released.
    void assign(T value) {
        const std::lock_guard guard(mutex_);
        std::swap(value_, value);
    }

private:
    std::mutex mutex_;
    T value_{};
};

/// Has `makeAnew` called at every `reset()`.
void atReset(void (*makeAnew)());

/// The process's one `T` that outlives every reset. It is never destroyed: entities and threads may still
/// come here while the process ends.
template <typename T>
T& lasting() {
    static T& object = *new T;
    return object;
}

/// The process's one guarded `T`, which every reset makes anew. Never destroyed either.
template <typename T>
Guarded<T>& state() {
    static Guarded<T>& object = []() -> Guarded<T>& {
        atReset([] { state<T>().assign(T{}); });
        return *new Guarded<T>;
    }();
    return object;
}

}  // namespace standin
