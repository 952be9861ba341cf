#include "platform/pipes/ssh/SshSession.h"

#include <cstdlib>
#include <new>

#include <libssh/libssh.h>
#include <libssh/sftp.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "platform/errors/Errors.h"
#include "platform/pipes/ssh/SshTunnel.h"

namespace Zn
{

namespace
{

constexpr std::size_t cLongestSocketPath = 107;

const char* Setting(const char* AName)
{
    const char* const Value = std::getenv(AName);
    return Value && *Value ? Value : nullptr;
}

std::string RemoteFolder()
{
    for (const char* const Name : {"ZN_PIPE_SSH_DIR", "ZN_PIPE_DIR"}) {
        if (const char* const Value = Setting(Name))
            return Value;
    }
    return "/run/zn-pipes";
}

/// A host that is cut off without a word is noticed by the first probe that stays without an answer.
void LimitSilence(int ASocket)
{
    const int On = 1;
    const unsigned Limit = 30000;
    setsockopt(ASocket, SOL_SOCKET, SO_KEEPALIVE, &On, sizeof(On));
    setsockopt(ASocket, IPPROTO_TCP, TCP_USER_TIMEOUT, &Limit, sizeof(Limit));
    setsockopt(ASocket, IPPROTO_TCP, TCP_NODELAY, &On, sizeof(On));
}

} // namespace

SshSession::SshSession() : FSession(ssh_new())
{
    if (!FSession)
        throw std::bad_alloc();
}

SshSession::~SshSession()
{
    if (FChannel)
        ssh_channel_free(FChannel);
    ssh_disconnect(FSession);
    ssh_free(FSession);
}

std::uint32_t SshSession::Open(const std::string& AHost, const SshCredentials& ACredentials,
                               std::unique_ptr<SshSession>& ASession)
{
    std::unique_ptr<SshSession> Session(new SshSession);
    if (!Session->Configure(AHost, ACredentials.User))
        return ERROR_INVALID_PARAMETER;
    if (ssh_connect(Session->FSession) != SSH_OK)
        return ERROR_BAD_NETPATH;
    LimitSilence(ssh_get_fd(Session->FSession));
    if (!Session->KnowsTheHost())
        return ERROR_TRUST_FAILURE;
    const std::uint32_t Error = Session->LogOn(ACredentials);
    if (Error == NO_ERROR)
        ASession = std::move(Session);
    return Error;
}

bool SshSession::Configure(const std::string& AHost, const std::string& AUser)
{
    const auto Set = [this](ssh_options_e AOption, const void* AValue) {
        return !AValue || ssh_options_set(FSession, AOption, AValue) == SSH_OK;
    };
    const char* const KnownHosts = Setting("ZN_PIPE_SSH_KNOWN_HOSTS");
    const long Timeout = cTimeout;
    return Set(SSH_OPTIONS_HOST, AHost.c_str()) && Set(SSH_OPTIONS_TIMEOUT, &Timeout) &&
           ssh_options_parse_config(FSession, nullptr) == SSH_OK &&
           Set(SSH_OPTIONS_USER, AUser.empty() ? nullptr : AUser.c_str()) &&
           Set(SSH_OPTIONS_PORT_STR, Setting("ZN_PIPE_SSH_PORT")) &&
           Set(SSH_OPTIONS_KNOWNHOSTS, KnownHosts) && Set(SSH_OPTIONS_GLOBAL_KNOWNHOSTS, KnownHosts) &&
           Set(SSH_OPTIONS_ADD_IDENTITY, Setting("ZN_PIPE_SSH_IDENTITY"));
}

bool SshSession::KnowsTheHost()
{
    return ssh_session_is_known_server(FSession) == SSH_KNOWN_HOSTS_OK;
}

std::uint32_t SshSession::LogOn(const SshCredentials& ACredentials)
{
    if (ACredentials.Password.empty()) {
        if (ssh_userauth_publickey_auto(FSession, nullptr, nullptr) == SSH_AUTH_SUCCESS)
            return NO_ERROR;
        return ACredentials.User.empty() ? ERROR_ACCESS_DENIED : ERROR_LOGON_FAILURE;
    }
    if (ssh_userauth_password(FSession, nullptr, ACredentials.Password.c_str()) == SSH_AUTH_SUCCESS ||
        AnswerPrompts(ACredentials.Password))
        return NO_ERROR;
    return ERROR_LOGON_FAILURE;
}

/// Some servers ask for the password as a question of their own.
bool SshSession::AnswerPrompts(const std::string& APassword)
{
    constexpr int cMostRounds = 3;
    int State = ssh_userauth_kbdint(FSession, nullptr, nullptr);
    for (int Round = 0; State == SSH_AUTH_INFO && Round < cMostRounds; ++Round) {
        const int Prompts = ssh_userauth_kbdint_getnprompts(FSession);
        for (int Prompt = 0; Prompt < Prompts; ++Prompt)
            ssh_userauth_kbdint_setanswer(FSession, static_cast<unsigned>(Prompt), APassword.c_str());
        State = ssh_userauth_kbdint(FSession, nullptr, nullptr);
    }
    return State == SSH_AUTH_SUCCESS;
}

std::uint32_t SshSession::OpenPipe(std::unique_ptr<SshSession> ASession, const std::string& AFile,
                                   std::shared_ptr<PipeStream>& AStream)
{
    const std::string Path = RemoteFolder() + "/" + AFile;
    if (Path.size() > cLongestSocketPath)
        return ERROR_FILENAME_EXCED_RANGE;
    if (const std::uint32_t Error = ASession->OpenChannel(Path); Error != NO_ERROR)
        return Error;
    int Ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, Ends) != 0)
        return FromErrno(errno);
    FileDescriptor Own(Ends[0]);
    AStream = std::make_shared<PipeStream>(
        std::move(Own), std::make_unique<SshTunnel>(std::move(ASession), FileDescriptor(Ends[1])));
    return NO_ERROR;
}

std::uint32_t SshSession::OpenChannel(const std::string& APath)
{
    FChannel = ssh_channel_new(FSession);
    if (!FChannel)
        return ERROR_NOT_ENOUGH_MEMORY;
    if (ssh_channel_open_forward_unix(FChannel, APath.c_str(), "localhost", 0) == SSH_OK)
        return NO_ERROR;
    if (ssh_is_connected(FSession) == 0)
        return ERROR_NETNAME_DELETED;
    return FileExists(APath) ? ERROR_PIPE_BUSY : ERROR_FILE_NOT_FOUND;
}

bool SshSession::FileExists(const std::string& APath)
{
    const std::unique_ptr<sftp_session_struct, void (*)(sftp_session)> Files(sftp_new(FSession), sftp_free);
    if (!Files || sftp_init(Files.get()) != SSH_OK)
        return false; // a server without file transfer
    const std::unique_ptr<sftp_attributes_struct, void (*)(sftp_attributes)> Found(
        sftp_lstat(Files.get(), APath.c_str()), sftp_attributes_free);
    return Found != nullptr;
}

} // namespace Zn
