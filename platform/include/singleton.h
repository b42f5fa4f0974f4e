#pragma once

/// Gives `T` one object per process, made at the first call of `instance()` from whichever executable or
/// shared library makes it, and destroyed with the library that defines the instantiation.
///
/// Each class declares `extern template class singleton<T>;` beside its definition, and exactly one library
/// holds the instantiation. So there is one object however visibility, linking or `dlopen` flags are set.
template <typename T>
class [[gnu::visibility("default")]] singleton {
public:
    /// The object. Thread-safe also at the first call.
    [[gnu::noinline]] static T& instance() {
        static T object;
        return object;
    }

    singleton(const singleton&) = delete;
    singleton& operator=(const singleton&) = delete;

protected:
    singleton() = default;
    ~singleton() = default;
};
