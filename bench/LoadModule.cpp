// Loads the C++ library and the module in the folder at hand: the least that a command of `roi` can cost.
#include <dlfcn.h>

#include <iostream>

int main() {
    const bool isLoaded = dlopen("./ROI.so", RTLD_NOW) != nullptr;
    std::cout << (isLoaded ? "loaded" : dlerror()) << '\n';
    return isLoaded ? 0 : 1;
}
