#pragma once

/**
 * One run of the setup program, with the arguments of `main`, on the calling thread. Everything it has to say goes to
 * standard output, and the last line tells whether the instance runs. Answers the exit status, which is always 0: the
 * scripts of operators read that line.
 */
[[nodiscard]] int RunSetup(int argc, char* argv[]);
