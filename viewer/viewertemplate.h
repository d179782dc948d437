#pragma once

#include <string_view>

// The page that shows models, whole but for its title and its data, which go in the places of @TITLE@ and @DATA@. Empty
// in a program that was built without Node.js.
std::string_view ViewerTemplate();
