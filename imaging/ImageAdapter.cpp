#include "imaging/ImageAdapter.h"
