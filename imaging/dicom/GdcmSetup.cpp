#include "imaging/dicom/GdcmSetup.h"

#include <gdcmTrace.h>

#include <mutex>

namespace zorbel::imaging {

void silenceGdcm() {
    static std::once_flag once;
    std::call_once(once, [] {
        gdcm::Trace::DebugOff();
        gdcm::Trace::WarningOff();
        gdcm::Trace::ErrorOff();
    });
}

} // namespace zorbel::imaging
