#pragma once

/// \file
/// The whole boundary of the library.

#include <velmont/atmosphere.h>
#include <velmont/color.h>
#include <velmont/compositing.h>
#include <velmont/dib.h>
#include <velmont/effects.h>
#include <velmont/environment.h>
#include <velmont/filters.h>
#include <velmont/geometry.h>
#include <velmont/grain.h>
#include <velmont/hatching.h>
#include <velmont/host.h>
#include <velmont/lens.h>
#include <velmont/masks.h>
#include <velmont/memory.h>
#include <velmont/painting.h>
#include <velmont/platform.h>
#include <velmont/restoration.h>
#include <velmont/texture.h>
#include <velmont/tone.h>
#include <velmont/version.h>
