#pragma once

#include "singleton.h"

/// The platform's object of a class of which there is one. Called through a pointer, so that the platform's
/// own code makes the object wherever the platform exports it: made by code inlined here, it would end with
/// the module.
template <typename T>
T& platformObject() {
    static T& (*const volatile instance)() = &singleton<T>::instance;
    return instance();
}
