#pragma once

namespace zebget {

struct Arguments;
class Interrupt;

/// Asks for every URL of a list, several at a time, through one multi client: one line each with its result,
/// time and size on standard output, in the order in which they end, and the progress of the whole on
/// standard error, with what was wrong with the certificates of servers that were refused. The status to end
/// with: 0 if each was answered, else the number of the last failure's result, or 1 when the list can't be
/// read. Ctrl-C cancels what is under way, and that is the status then.
int runMulti(const Arguments& arguments, Interrupt& interrupt);

}  // namespace zebget
