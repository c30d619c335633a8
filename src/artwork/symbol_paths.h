// The symbols of the catalogue as Cairo paths, drawn by hand so no image file from
// elsewhere is needed. Stateless; any thread may call it on its own context.
#pragma once

#include <cairo.h>

#include <string_view>

namespace kelo {

// Adds the symbol's outline to `cr`'s current path, centred on the origin within the
// box from -1 to 1; the caller scales, places, and fills it (even-odd fill rule).
// Does nothing for a name that is not in the catalogue.
void appendSymbolPath(cairo_t* cr, std::string_view symbol);

}  // namespace kelo
