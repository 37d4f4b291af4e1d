// GDCM's codecs and OpenJPEG do not free everything when a code stream turns out to be damaged, which these
// tests make happen hundreds of times. Read by AddressSanitizer where the build has it, by nobody elsewhere.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libgdcmMSFF\nleak:libopenjp2\n";
}
