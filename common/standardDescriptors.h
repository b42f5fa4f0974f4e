#pragma once

namespace common {

/// Opens those of the descriptors 0 to 2 on /dev/null that were closed when the program was started, so that
/// no file or socket takes their numbers. Reading and writing them fails as before. To be called first.
void openStandardDescriptors();

}  // namespace common
