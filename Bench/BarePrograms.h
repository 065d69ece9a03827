#pragma once

// What two verbs of vlanctl print, by one walk over the network class each.
void PrintBareList();
void PrintBareParents();
