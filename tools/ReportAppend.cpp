#include "tools/ReportAppend.h"

#include "platform/PrivateFile.h"
#include "report/package/AppendReportPacket.h"
#include "tools/PacketFile.h"

#include <ostream>
#include <string>
#include <vector>

namespace zorbel::tools {

int runReportAppend(std::span<const std::string> arguments, const Streams& streams) {
    std::vector<std::string> documents;
    std::string packet;
    bool tableGrids = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--packet" && i + 1 < arguments.size() && packet.empty())
            packet = arguments[++i];
        else if (arguments[i] == "--table-grids")
            tableGrids = true;
        else if (arguments[i].empty() || arguments[i].starts_with('-'))
            return 2;
        else
            documents.push_back(arguments[i]);
    }
    if (documents.size() != 2 || packet.empty())
        return 2;

    ReportPacket appended = readPacketFile(packet);
    appended.tableGrids = tableGrids;
    const EditResult result = appendReportPacket(readWholeFile(documents[0]), appended);
    if (!result.success) {
        streams.error << result.error.toStdString() << '\n';
        return 1;
    }
    writePrivateFile(documents[1], {result.bytes.constData(), static_cast<std::size_t>(result.bytes.size())});
    return 0;
}

} // namespace zorbel::tools
