#pragma once

#include "demo/Fault.h"

#include <string>

namespace zorbel::demo {

/// Whether the fault changes the parts of a series stream.
bool changesParts(Fault::Kind kind);

/// A whole multipart reply, for the faults that need all of it at once.
struct MultipartReply {
    std::string contentType;
    std::string body;
};

/// Takes a well-formed multipart reply apart and puts it together again with the fault.
MultipartReply withFault(const MultipartReply& reply, const Fault& fault);

} // namespace zorbel::demo
