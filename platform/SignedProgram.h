#pragma once

#include <cstdint>
#include <istream>
#include <vector>

namespace zorbel {

/// Where in a Windows program's file lies what its signature covers: everything before the certificate table
/// but the checksum (4 bytes) and the table's entry in the directory (8 bytes). Offsets in bytes from the
/// file's begin; checksumAt < directoryEntryAt < tableAt.
struct SignedProgram {
    std::uint64_t checksumAt = 0;
    std::uint64_t directoryEntryAt = 0;
    std::uint64_t tableAt = 0;
    std::vector<std::uint8_t> signature; ///< what the table's one entry holds: a PKCS #7 message in DER

    /// Reads the layout with every offset and length held against the file; accepts only those in which the
    /// bytes before the table are the headers, the sections one after the other, and what follows them, so
    /// that all ways of computing the digest agree. Throws SignatureRefused.
    static SignedProgram read(std::istream& file);
};

} // namespace zorbel
