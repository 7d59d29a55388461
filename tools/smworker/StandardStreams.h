#pragma once

#include "windows/Handle.h"

namespace smworker {

// The pipes to the client, which nothing else in the process can reach.
struct ClientPipes {
    gui::Handle fromClient;
    gui::Handle toClient;
};

// Takes them over, before any other code of the process is loaded. Drivers print and read: what they print
// goes to the error output from now on, and they find nothing to read. (Besides, libraries that look at the
// standard input while they start would wait for the thread that reads it.)
ClientPipes takeStandardStreams();

}  // namespace smworker
