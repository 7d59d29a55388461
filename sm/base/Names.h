// Names that several methods know.
#pragma once

// What the module calls itself to the manager and the source, unless the host gives a name of its own.
constexpr char moduleName[] = "VORN Scan Module";
// The manufacturer of the sources that are listed, and that take a strip buffer of any size.
constexpr char brandName[] = "KAVRO";
