#pragma once
// A header of the host's own under a name that the library uses too.

struct HostPolygon {
  unsigned corners = 4;
};
