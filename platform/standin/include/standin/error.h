#pragma once

#include <stdexcept>

namespace standin {

/// Thrown by the control operations of the stand-in when they cannot do what they are told: one line that
/// names the thing and the reason. Nothing has changed then, unless the operation says otherwise.
class [[gnu::visibility("default")]] Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace standin
