// Screens as pictures, drawn with the fonts of the VBI library where it is there.
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
