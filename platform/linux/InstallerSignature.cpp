#include "platform/InstallerSignature.h"

#include "platform/SignatureRefused.h"
#include "platform/linux/AuthenticodeMessage.h"

#include <ctime>
#include <exception>
#include <fstream>

namespace zorbel {

InstallerSignature
verifyInstallerSignature(const std::filesystem::path& installer, const std::string& trustedRoots) {
    try {
        std::ifstream file(installer, std::ios::binary);
        if (!file)
            throw SignatureRefused(SignatureRefused::unreadable);
        const SignedProgram program = SignedProgram::read(file);
        return {verifyAuthenticode(program, file, trustedRoots, std::time(nullptr)), {}};
    } catch (const SignatureRefused& refused) {
        return {{}, refused.what()};
    } catch (const std::exception&) { // no memory left
        return {{}, SignatureRefused::unreadable};
    }
}

} // namespace zorbel
