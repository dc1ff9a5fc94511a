// Presentation kinds: how a parameter page shows an entry of a list. The values are the page's own.
#pragma once

enum PresentationKind : int {
    kPresentPlain = 0,          ///< a number that pages show as they like
    kPresentNumber = 0x5,       ///< an editable number
    kPresentAction = 0x8,       ///< a push button: 0 when read, set to anything else to press it
    kPresentShown = 0x4040005,  ///< a number that follows from the others and cannot be set
    kPresentShear = 0x8000005,  ///< the shear, an editable angle
    kPresentLock = 0xC000013,   ///< the lock of a side, a whole number used as a flag
};
