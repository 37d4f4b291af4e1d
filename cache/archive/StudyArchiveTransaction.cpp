#include "cache/archive/StudyArchiveTransaction.h"
