#include "cache/storage/StorageSession.h"
