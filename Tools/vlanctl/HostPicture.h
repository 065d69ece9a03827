#pragma once

#include "Tools/vlanctl/Picture.h"

#include <string>

// A text as it stands in HTML and SVG, in attributes, too. Characters that nobody would see are made visible.
std::string Escaped(const std::string& text);

// The host as an SVG element: adapters on the left, teams in the middle, VLANs on the right, with lines between what
// carries and what is carried. Its colours are the custom properties of the page that holds it.
std::string SvgOf(const std::vector<PictureNode>& nodes, const std::string& title);
