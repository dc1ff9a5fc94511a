// A parameter list as the block "Parameters" of a folder stream, all little-endian words:
//
//     uint32: bytes of the block, since a stream tells only whether a block is long enough
//     uint32: number of entries; then for each of them
//         int32  presentation kind
//         uint32 type of the value (ValueType)
//         uint32 length of the name, and its 32-bit characters
//         the value: nothing, int32, double, or uint32 length and characters
#pragma once

#include "framework/ParametersCreatable.h"

/// E_FAIL, with nothing written, for a list that holds an object or needs more than 16 MiB.
Result SaveBlock(const ParameterEntries& entries, IFolderStream& stream);

/// E_FAIL for a block that is missing, cut short or inconsistent; `*entries` is then of no use. Bytes behind
/// its size are ignored.
Result LoadBlock(IFolderStream& stream, ParameterEntries* entries);
