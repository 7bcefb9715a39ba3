// Screens as pictures, which a module of the tool draws.
#pragma once

#include "Image.h"
#include "Screen.h"

namespace qlx::tool {

/// Throws Failure when pictures of screens cannot be drawn here.
void requireScreenImages();

/// Draws a screen over a grey picture.
/// @throws Failure when pictures of screens cannot be drawn here.
[[nodiscard]] Image screenImage(const Screen& screen);

}  // namespace qlx::tool
