// What libvips does not tell of a file, from the file's own header.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace host {

/// By how many bits the library moves the values of a JPEG 2000 file up. Throws std::runtime_error for an image that
/// does not begin at the origin of its grid: the library mixes its tiles up.
int ShiftOf(std::FILE* file);

/// What the library, which knows colours and grey of 16 bits, loses of an OpenEXR file. Throws std::runtime_error where
/// that is everything.
std::vector<std::string> LossesOf(std::FILE* file);

}  // namespace host
