// Image files: recognised by their first bytes, their pages counted, their rows read from the top down. What an
// image's codec finds wrong is an Error that names the file, unless damage is wanted as far as it can be read.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/Error.h"
#include "host/base/Raster.h"
#include "host/base/UserPath.h"
#include "host/images/FileReader.h"

namespace host {

/// The formats that are opened, as people call them: "PNG, JPEG, ...".
std::string ImageFormats();

/// Whether an image whose codec complains is refused or read as far as it goes.
enum class Damage { refused, taken };

/// Some of the pages of an image: `1,3-5`.
class PageSelection {
  public:
    /// All pages.
    PageSelection() = default;
    /// Throws a usage error for anything but numbers from 1 and ranges of them, with commas between.
    explicit PageSelection(const std::string& text);

    bool Has(int page) const noexcept;

  private:
    struct Range {
        int first;
        int last;
    };
    std::vector<Range> m_ranges;
};

/// An image as people name it: a file, or one page of it as `a.tif:3`.
struct ImageName {
    UserPath path;  ///< as named
    std::filesystem::path file;
    std::optional<int> page;  ///< from 1; nothing when none is named

    ImageName() = default;
    /// A file whose own name ends like that of a page is that file.
    ImageName(UserPath named);  // NOLINT(google-explicit-constructor): a path names an image
};

/// A page in memory, or as much of it as was wanted or could be read.
struct Image {
    PageInfo page;  ///< its size is that of the whole page
    Raster pixels;
    bool damaged = false;  ///< whether rows are missing or doubtful
};

class ImageFile {
  public:
    /// Opens a file and turns to the page that is named, or to the first. What is no regular file, such as a pipe,
    /// is read as a whole first. Throws Error for what is missing, of no known format or unsound.
    explicit ImageFile(const ImageName& name, Damage damage = Damage::refused);
    ~ImageFile();
    ImageFile(ImageFile&&) noexcept;
    ImageFile& operator=(ImageFile&&) noexcept;

    /// How many pages the file has, and the numbers of those among them that are named or selected, rising. Throws
    /// Error when there is none.
    int Pages() const noexcept { return m_pages; }
    std::vector<int> Wanted(const PageSelection& selection) const;

    /// Turns to a page, from 1, and its first row. Throws Error.
    void Turn(int page);
    const PageInfo& Page() const noexcept { return m_page; }

    /// Makes a row of the page, which must have it, the next one. False, and nothing changes, where the file's rows can
    /// only be read one after the other.
    bool Go(int row);
    /// Reads the next `count` rows, which the page must have, into Page().RowBytes() each. How many could be read:
    /// fewer only when damage is taken. Throws Error.
    int ReadRows(int count, std::byte* rows);
    /// Reads all rows that are left, or of a box, which lies in the page and not above the next row, its part. The
    /// rest of the page is not held in memory. With damage the rows that cannot be read are missing. Throws Error, also
    /// when none of the page's can be read.
    Image Read();
    Image Read(const PixelRect& box);

    /// Whether damage was met and taken.
    bool IsDamaged() const noexcept { return m_damaged; }

  private:
    friend Image DecodeImage(std::string_view bytes);
    struct Parts;

    ImageFile(std::unique_ptr<Parts> parts, std::string typed);
    void Open();
    template <class Body>
    auto Named(const Body& body) const;
    Error Unreadable(std::string_view why) const;
    void CheckFault();
    bool ReadRow(std::byte* row);

    std::unique_ptr<Parts> m_parts;
    std::string m_typed;
    std::optional<int> m_named;
    Damage m_damage = Damage::refused;
    PageInfo m_page;
    int m_pages = 0;
    int m_next = 0;
    bool m_damaged = false;
};

/// The first page of an image whose file is these bytes. Throws Error.
Image DecodeImage(std::string_view bytes);

/// The bytes of a file in PNG, JPEG or TIFF. Throws std::runtime_error for what the format cannot hold.
std::string EncodeImage(Format format, const RasterView& image);

}  // namespace host
