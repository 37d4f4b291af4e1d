#include "cache/StudyClassification.h"

#include <QRegularExpression>
#include <QStringList>

#include <initializer_list>

namespace zorbel {

namespace {

bool containsAny(const QString& text, std::initializer_list<const char*> words) {
    for (const char* word : words)
        if (text.contains(QLatin1String(word)))
            return true;
    return false;
}

bool isOneOf(const QString& modality, std::initializer_list<const char*> codes) {
    for (const char* code : codes)
        if (modality == QLatin1String(code))
            return true;
    return false;
}

/// Whether the text names a kind of projection. A description of a scanner's volume is searched for whole
/// words, because it names diseases and anatomy as well: HYDROCEPHALUS, TYMPANOMASTOID.
bool names(const QString& text, const char* part, const QRegularExpression& words, const QString& modality) {
    if (isOneOf(modality, {"CT", "MR", "PT", "NM"}))
        return words.match(text).hasMatch();
    return text.contains(QLatin1String(part));
}

bool namesPanoramic(const QString& text, const QString& modality) {
    static const QRegularExpression words(QStringLiteral(R"((?<!\p{L})PANO(R\p{L}*)?(?!\p{L}))"));
    return names(text, "PANO", words, modality);
}

bool namesCephalometric(const QString& text, const QString& modality) {
    static const QRegularExpression words(
        QStringLiteral(R"((?<!\p{L})CEPH(AL(O([GMS]\p{L}*)?)?)?(?!\p{L}))"));
    return names(text, "CEPH", words, modality);
}

const QString cbct = QStringLiteral("CBCT");
const QString ct = QStringLiteral("CT");
const QString mri = QStringLiteral("MRI");
const QString xRay = QStringLiteral("X-ray");
const QString panoramic = QStringLiteral("Panoramic");
const QString cephalometric = QStringLiteral("Cephalometric");
const QString intraoral = QStringLiteral("Intraoral");
const QString ultrasound = QStringLiteral("Ultrasound");
const QString mammography = QStringLiteral("Mammography");
const QString nuclear = QStringLiteral("PET / Nuclear Medicine");
const QString other = QStringLiteral("Other");

QString labelOfModality(const QString& modality, const QString& text) {
    if (modality == QLatin1String("PX"))
        return panoramic;
    if (modality == QLatin1String("IO"))
        return intraoral;
    if (isOneOf(modality, {"DX", "CR", "DR", "RG", "XA", "RF"}))
        return containsAny(text, {"INTRAORAL", "INTRA-ORAL", "BITEWING", "PERIAPICAL"}) ? intraoral : xRay;
    if (modality == QLatin1String("CT"))
        return ct;
    if (modality == QLatin1String("MR"))
        return mri;
    if (isOneOf(modality, {"PT", "NM"}))
        return nuclear;
    if (isOneOf(modality, {"US", "IVUS"}))
        return ultrasound;
    return modality == QLatin1String("MG") ? mammography : other;
}

/// Modalities whose objects are single images or documents. One that is not known here may hold a volume; the
/// decoded image then decides.
bool isPlanarModality(const QString& modality) {
    return isOneOf(modality, {"PX", "IO", "DX", "CR", "DR", "RG", "RF", "XA", "MG", "US",  "IVUS", "XC", "GM",
                              "SM", "ES", "OP", "EC", "SC", "SR", "PR", "KO", "AU", "DOC", "ECG",  "HD"});
}

} // namespace

StudyClassification
StudyClassification::classify(const QString& modality, const QString& description, const QString& bodyPart) {
    const QString code = modality.trimmed().toUpper();
    const QString text = code + QLatin1Char('\n') + description.toUpper();

    StudyClassification result;
    if (containsAny(text, {"CBCT", "CONE BEAM"})) {
        result.volumetric_ = true;
        result.label_ = cbct;
    } else if (namesPanoramic(text, code)) {
        result.label_ = panoramic;
    } else if (namesCephalometric(text, code)) {
        result.label_ = cephalometric;
    } else {
        result.volumetric_ = !isPlanarModality(code);
        result.label_ = labelOfModality(code, text + QLatin1Char('\n') + bodyPart.toUpper());
    }
    result.panoramic_ = result.label_ == panoramic;
    result.cephalometric_ = result.label_ == cephalometric;
    return result;
}

QStringList StudyClassification::labels() {
    return {cbct,      ct,         mri,         xRay,    panoramic, cephalometric,
            intraoral, ultrasound, mammography, nuclear, other};
}

} // namespace zorbel
