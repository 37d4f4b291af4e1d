#include "diagnostics/sections/ProgramSections.h"

#include "imaging/rendering/OpenGlCapabilities.h"
#include "platform/MemoryInfo.h"
#include "platform/SystemInfo.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QSysInfo>
#include <QThread>

#include <gdcmVersion.h>
#include <openssl/crypto.h>
#include <vtkVersion.h>
#include <zlib.h>

namespace zorbel {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;

std::string text(const QString& value) {
    return value.toStdString();
}

std::string sizeText(const QSize& size) {
    return text(QStringLiteral("%1 × %2").arg(size.width()).arg(size.height()));
}

std::string compiler() {
#ifdef __clang__
    return "Clang " __VERSION__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "Microsoft C++ " + std::to_string(_MSC_VER);
#endif
}

} // namespace

DiagnosticsJson programSection() {
    return {
        {"version", text(QCoreApplication::applicationVersion())},
        {"build", buildId()},
        {"system", text(QSysInfo::prettyProductName())},
        {"kernel", text(QSysInfo::kernelType() + QLatin1Char(' ') + QSysInfo::kernelVersion())},
        {"architecture", text(QSysInfo::currentCpuArchitecture())},
        {"cores", QThread::idealThreadCount()},
        {"Qt", qVersion()},
        {"VTK", vtkVersion::GetVTKVersion()},
        {"GDCM", gdcm::Version::GetVersion()},
        {"OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING)},
        {"zlib", zlibVersion()},
        {"compiler", compiler()}};
}

DiagnosticsJson graphicsSection() {
    const auto& openGl = imaging::OpenGlCapabilities::instance();
    return {
        {"renderer", openGl.renderer},
        {"vendor", openGl.vendor},
        {"OpenGL", openGl.version},
        {"usable", openGl.available},
        {"drawnByProcessor", openGl.software},
        {"max3DTextureSize", openGl.max3DTextureSize},
        {"maxTextureSize", openGl.maxTextureSize},
        {"platform", text(QGuiApplication::platformName())}};
}

DiagnosticsJson memorySection() {
    const MemoryInfo info = memoryInfo();
    return {
        {"processMiB", info.resident / mebibyte},
        {"processPeakMiB", info.peakResident / mebibyte},
        {"machineMiB", info.machineTotal / mebibyte},
        {"machineAvailableMiB", info.machineAvailable / mebibyte}};
}

DiagnosticsJson screensSection() {
    auto section = DiagnosticsJson::object();
    int number = 0;
    for (const QScreen* screen : QGuiApplication::screens())
        section["screen " + std::to_string(++number)] = {
            {"size", sizeText(screen->geometry().size())},
            {"scale", screen->devicePixelRatio()},
            {"dotsPerInch", screen->logicalDotsPerInch()},
            {"bitsPerPixel", screen->depth()},
            {"hertz", screen->refreshRate()},
            {"primary", screen == QGuiApplication::primaryScreen()}};
    return section;
}

} // namespace zorbel
