#pragma once
// A header of the host's own under a name that the library uses too.

#define HOST_API
