#include "cache/volume/ManifestParser.h"
