#pragma once

#include <string>
#include <string_view>

namespace oltmgrd {

/// The contents of a file. Throws `FileError`, also for what is no regular file.
std::string readFile(const std::string& path);

/// Replaces a file so that at every moment, also after a crash, it is the old one or the new one, whole. A
/// symbolic link stays and its target is replaced; an existing file keeps its permissions, a new one has mode
/// 0640. Throws `FileError`; the old file is untouched then and nothing is left behind. One at a time for
/// each path.
void replaceFile(const std::string& path, std::string_view contents);

}  // namespace oltmgrd
