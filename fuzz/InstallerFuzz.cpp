// An installer, or only the message of its signature, whose parts are then also tried one by one: what the
// digests and signatures of a whole one keep from the fuzzer. Nobody is trusted, so nothing may pass.
#include "fuzz/FuzzSupport.h"
#include "platform/SignatureRefused.h"
#include "platform/linux/AuthenticodeMessage.h"
#include "platform/linux/SignedAttributes.h"
#include "platform/linux/TimeStamp.h"

#include <optional>
#include <sstream>
#include <string>

namespace {

using namespace zorbel;
using fuzz::require;

const std::string nobody = "no certificate";

std::optional<SignedProgram> readProgram(std::istream& file, std::uint64_t size) {
    try {
        SignedProgram program = SignedProgram::read(file);
        require(program.checksumAt + 4 <= program.directoryEntryAt, "the fields follow one another");
        require(program.directoryEntryAt + 8 <= program.tableAt, "the table follows the headers");
        require(program.tableAt + 8 + program.signature.size() <= size, "the table lies in the file");
        return program;
    } catch (const SignatureRefused&) {
        return {};
    }
}

void tryMessage(const SignedProgram& program, std::istream& file) {
    try {
        verifyAuthenticode(program, file, nobody, 0);
        require(false, "nobody is trusted");
    } catch (const SignatureRefused&) {
    }
}

void tryParts(std::span<const std::uint8_t> bytes) {
    const unsigned char* at = bytes.data();
    const Pkcs7Handle message(d2i_PKCS7(nullptr, &at, static_cast<long>(bytes.size())));
    if (!message || !PKCS7_type_is_signed(message.get()) || message->d.sign == nullptr)
        return;
    const auto* signers = message->d.sign->signer_info;
    for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signers); ++i) {
        PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(signers, i);
        try {
            X509* certificate = signerAmong(message->d.sign->cert, signer);
            checkSignedAttributes(signer, certificate, "1.3.6.1.4.1.311.2.1.4", bytes);
        } catch (const SignatureRefused&) {
        }
        try {
            require(!timeStampOf(signer, message->d.sign->cert, nobody), "nobody's time-stamp is trusted");
        } catch (const SignatureRefused&) {
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream file(std::string(reinterpret_cast<const char*>(data), size));
    if (const auto program = readProgram(file, size)) {
        tryMessage(*program, file);
        tryParts(program->signature);
    } else if (size > 0 && data[0] == 0x30) {
        tryParts({data, size});
        SignedProgram alone;
        alone.signature.assign(data, data + size);
        tryMessage(alone, file);
    }
    return 0;
}
