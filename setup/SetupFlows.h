#pragma once

#include "SetupParam.h"

// What follows once an installation's parameters are known: the border between the driver and the flows behind it.

/** How a join ended; `AskMasterAgain`: this master took no login, or is none, and the dialogue may ask for another. */
enum class JOINEND {
    Done,
    AskMasterAgain,
    Failed
};

/**
 * Brings a master instance up whose system file stands: starts the two services and has the server create the data
 * files. Answers whether it runs; what failed has been said. White space at the ends of the sizes is cut.
 */
[[nodiscard]] bool StartInstance(SETUPPARAM& stParam);

/**
 * Logs in at the master and joins its cluster as a node of the type given. What failed has been said. With `bDialogue`
 * there is somebody to ask for another master. Sets the port of the local server, and the master's address where a
 * slave node was sent on to another.
 */
[[nodiscard]] JOINEND JoinCluster(int nMode, bool bDialogue, SETUPPARAM& stParam);
