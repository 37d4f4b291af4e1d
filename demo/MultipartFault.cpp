#include "demo/MultipartFault.h"

#include "demo/ByteSource.h"

#include <algorithm>
#include <vector>

namespace zorbel::demo {

namespace {

struct Part {
    std::string head; ///< lines with CR LF, without the empty line
    std::string body;
};

std::vector<Part> split(const std::string& bytes, const std::string& boundary) {
    const std::string delimiter = "--" + boundary;
    std::vector<Part> parts;
    std::size_t at = bytes.find(delimiter);
    while (at != std::string::npos && bytes.compare(at + delimiter.size(), 2, "--") != 0) {
        const std::size_t headStart = at + delimiter.size() + 2;
        const std::size_t headEnd = bytes.find("\r\n\r\n", at);
        const std::size_t next = bytes.find("\r\n" + delimiter, headEnd);
        if (headEnd == std::string::npos || next == std::string::npos) {
            break;
        }
        parts.push_back(
            {bytes.substr(headStart, headEnd - headStart), bytes.substr(headEnd + 4, next - headEnd - 4)});
        at = next + 2;
    }
    return parts;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

void changeParts(std::vector<Part>& parts, const Fault& fault) {
    const auto number = static_cast<std::size_t>(std::max(fault.parts, 0));
    switch (fault.kind) {
    case Fault::Kind::MissingParts:
        parts.resize(parts.size() - std::min(number, parts.size()));
        break;
    case Fault::Kind::ExtraParts:
        if (!parts.empty()) {
            parts.insert(parts.end(), number, Part(parts.back()));
        }
        break;
    case Fault::Kind::ShuffledParts:
        std::reverse(parts.begin(), parts.end());
        break;
    case Fault::Kind::ReplacedPart:
        if (parts.size() > 1) {
            parts[1] = parts[0];
        }
        break;
    case Fault::Kind::EmptyPart:
        if (!parts.empty()) {
            parts[0] = {"Content-Type: application/dicom", {}};
        }
        break;
    default:
        break;
    }
}

std::string
join(const std::vector<Part>& parts, const std::string& boundary, const std::string& end, bool closed) {
    std::string bytes;
    for (const Part& part : parts) {
        std::string head = part.head;
        replaceAll(head, "\r\n", end);
        bytes.append("--" + boundary + end + head + end + end).append(part.body).append(end);
    }
    return closed ? bytes + "--" + boundary + "--" + end : bytes;
}

} // namespace

bool changesParts(Fault::Kind kind) {
    switch (kind) {
    case Fault::Kind::MissingParts:
    case Fault::Kind::ExtraParts:
    case Fault::Kind::ShuffledParts:
    case Fault::Kind::ReplacedPart:
    case Fault::Kind::EmptyPart:
    case Fault::Kind::WrongBoundary:
    case Fault::Kind::MissingBoundary:
    case Fault::Kind::QuotedBoundary:
    case Fault::Kind::LineFeedOnly:
    case Fault::Kind::NoClosingDelimiter:
        return true;
    default:
        return false;
    }
}

MultipartReply withFault(const MultipartReply& reply, const Fault& fault) {
    const std::string type = "multipart/related; type=\"application/dicom\"";
    std::string boundary = boundaryOf(reply.contentType);
    std::vector<Part> parts = split(reply.body, boundary);
    changeParts(parts, fault);
    if (fault.kind == Fault::Kind::QuotedBoundary) {
        boundary = "zorbel;demo boundary";
    }
    std::string announced = "; boundary=" + boundary;
    if (fault.kind == Fault::Kind::QuotedBoundary) {
        announced = "; boundary=\"" + boundary + "\"";
    } else if (fault.kind == Fault::Kind::WrongBoundary) {
        announced = "; boundary=zorbel-demo-wrong-boundary";
    } else if (fault.kind == Fault::Kind::MissingBoundary) {
        announced.clear();
    }
    const std::string end = fault.kind == Fault::Kind::LineFeedOnly ? "\n" : "\r\n";
    return {type + announced, join(parts, boundary, end, fault.kind != Fault::Kind::NoClosingDelimiter)};
}

} // namespace zorbel::demo
