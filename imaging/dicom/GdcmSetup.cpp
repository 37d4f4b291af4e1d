#include "imaging/dicom/GdcmSetup.h"

#include <gdcmGlobal.h>
#include <gdcmTrace.h>

#include <mutex>

namespace zorbel::imaging {

void prepareGdcm() {
    static std::once_flag once;
    std::call_once(once, [] {
        gdcm::Trace::DebugOff();
        gdcm::Trace::WarningOff();
        gdcm::Trace::ErrorOff();
        gdcm::Global::GetInstance();
    });
}

} // namespace zorbel::imaging
