#pragma once
// Starts the binary tracer for the process.
//
// The trace file is named by the environment variable RLFILE when it is set and not empty, and
// otherwise "Mpls-%d.rl" with the process id in place of %d. Returns what the tracer's
// `initialize` returns: 0 on success, an errno value otherwise (tracing then stays off).
int Mpls_rapidlogInitialize();
