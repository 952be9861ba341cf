#pragma once

#include <string>

#include "common/Component.h"
#include "platform/Api.h"

/// The user name and password of a client. Both are empty at first.
///
/// Threads:   one at a time; a client's requests copy what they need when they are made.
/// Errors:    none.
class ZN_API TZnCredentials : public TPersistent
{
public:
    /// UTF-8. Default empty.
    const std::string& GetUserName() const { return FUserName; }
    void SetUserName(std::string AValue) { FUserName = std::move(AValue); }

    /// UTF-8; in no log and no error text. Default empty.
    const std::string& GetPassword() const { return FPassword; }
    void SetPassword(std::string AValue) { FPassword = std::move(AValue); }

    /// Neither a name nor a password.
    bool Empty() const { return FUserName.empty() && FPassword.empty(); }

protected:
    void AssignTo(TPersistent* ADest) const override;

private:
    std::string FUserName;
    std::string FPassword;
};
