// Decodes the image named on the command line with the host's reader: the least that `roi measure` can cost.
#include <exception>

#include "host/images/Image.h"

int main(int argc, char** argv) {
    try {
        return argc == 2 && !host::LoadImage(host::UserPath(argv[1])).pixels.IsEmpty() ? 0 : 1;
    } catch (const std::exception&) {
        return 1;
    }
}
