#pragma once

/// Starts the socket layer and looks up the system's address functions. Every operation that needs
/// them calls it first; after the first success it costs one load. Raises Exception where the
/// socket layer or one of the libraries isn't there, and tries again at the next call. Any thread.
void InitializeWinsock();
