#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/pipes/PipeStream.h"

struct ssh_session_struct;
struct ssh_channel_struct;

namespace Zn
{

/// Who logs on. Empty: the present user, by the agent and the default keys.
struct SshCredentials
{
    std::string User;
    std::string Password;
};

/// A session with another host's SSH server, logged on, for one pipe.
///
/// The server's key is checked against the known hosts, always: a key that isn't there, or another
/// one, ends the attempt. Settings, of the environment:
///
///   ZN_PIPE_SSH_PORT          port; default: the user's SSH configuration, else 22
///   ZN_PIPE_SSH_KNOWN_HOSTS   file of known hosts in the place of the user's and the system's
///   ZN_PIPE_SSH_IDENTITY      one more key to log on with
///   ZN_PIPE_SSH_DIR           the pipes' folder there; default: $ZN_PIPE_DIR, else /run/zn-pipes
///
/// Threads: one at a time.
class SshSession
{
public:
    /// Time for each step that waits for the other host, s.
    static constexpr long cTimeout = 10;

    /// ERROR_BAD_NETPATH: nobody answers there; ERROR_TRUST_FAILURE: the key; ERROR_LOGON_FAILURE: user or
    /// password; ERROR_ACCESS_DENIED: neither agent nor key was accepted.
    static std::uint32_t Open(const std::string& AHost, const SshCredentials& ACredentials,
                              std::unique_ptr<SshSession>& ASession);

    ~SshSession();
    SshSession(const SshSession&) = delete;
    SshSession& operator=(const SshSession&) = delete;

    /// Opens the pipe's socket on the other host and hands the session over to the way there.
    /// ERROR_FILE_NOT_FOUND; ERROR_PIPE_BUSY: the socket is there and takes nobody (the server
    /// does not tell whether it is busy or was left by a dead process).
    static std::uint32_t OpenPipe(std::unique_ptr<SshSession> ASession, const std::string& AFile,
                                  std::shared_ptr<PipeStream>& AStream);

    ssh_session_struct* Session() const { return FSession; }
    ssh_channel_struct* Channel() const { return FChannel; }

private:
    SshSession();
    bool Configure(const std::string& AHost, const std::string& AUser);
    bool KnowsTheHost();
    std::uint32_t LogOn(const SshCredentials& ACredentials);
    bool AnswerPrompts(const std::string& APassword);
    std::uint32_t OpenChannel(const std::string& APath);
    bool FileExists(const std::string& APath);

    ssh_session_struct* FSession;
    ssh_channel_struct* FChannel = nullptr;
};

} // namespace Zn
