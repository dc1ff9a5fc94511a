// Images in memory: measured on their luma, written whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/base/Raster.h"
#include "host/base/UserPath.h"
#include "host/images/ImageFile.h"

namespace host {

/// What is to be said of the page that a name means, to which the file is turned: what the file says and nobody follows
/// and, where the name means none of several pages, that the first is taken.
std::vector<std::string> WarningsOf(const ImageName& name, const ImageFile& file);

/// The page that a name means as a whole, the first when it means none, with a warning where there are more. Throws
/// Error for a file that is missing or, unless damage is taken, is not a sound image.
Image LoadImage(const ImageName& name, Damage damage = Damage::refused);

/// The one plane that is measured: of a colour image the luma 0.299 R + 0.587 G + 0.114 B in double precision, of any
/// other its first channel in its own depth. Alpha is dropped and touches nothing.
Raster Luma(const Image& image);
/// The same of pixels that lie elsewhere; `page` says what their channels are. A plane of its own rows.
Raster Luma(const PageInfo& page, const RasterView& pixels);

/// One plane of an image and its name; a view of the image, whose pixels must live as long.
struct Channel {
    std::string name;
    RasterView values;
};

/// The planes of a colour image as R, G, B and, where it has one, A; a grey image, without its alpha, as L. Channels
/// that are neither are called by their numbers, from 1.
std::vector<Channel> Channels(const Image& image);
std::vector<Channel> Channels(const PageInfo& page, const RasterView& pixels);

/// Whether the ending of the path names a format that SaveImage writes: PNG, JPEG or TIFF.
bool IsImageEnding(const UserPath& path);
/// Throws a usage error unless it does.
void CheckImageEnding(const UserPath& path);

/// Writes an image of 1 to 4 channels (grey, grey and alpha, red, green and blue, these and alpha) in the format that
/// the ending of the path names, whole or not at all. `kind` names the file in the Error that is thrown when that
/// fails: PNG holds u8 and u16, JPEG u8 without alpha, TIFF every depth.
void SaveImage(std::string_view kind, const UserPath& path, const RasterView& image);

}  // namespace host
