#include "cache/archive/StudyArchiveReader.h"
