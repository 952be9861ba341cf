/// A logon form either names a user and a password or raises EConvertError; what it names is valid UTF-8, and
/// the Basic field made of it reads back as the same user and password.

#include <string>
#include <string_view>

#include "common/Encoding.h"
#include "common/Exceptions.h"
#include "common/NetEncoding.h"
#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer/LogonForm.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Body(reinterpret_cast<const char*>(AData), ALength);
    Zn::LogonForm Form;
    try {
        Form = Zn::ReadLogonForm(Body);
    } catch (const EConvertError&) {
        Zn::FuzzCheck(Body.find('%') != Body.npos, "only a bad escape is refused");
        return 0;
    }
    Zn::FuzzCheck(ZnIsUtf8(Form.UserName) && ZnIsUtf8(Form.Password), "names and passwords are text");
    Zn::FuzzCheck(Form.UserName.size() + Form.Password.size() <= 3 * ALength, "nothing is made up");

    const std::string Field = Zn::BasicAuthorization(Form);
    Zn::FuzzCheck(Field.starts_with("Basic "), "the scheme");
    const std::string Text = TZnNetEncoding::GetBase64ExEncoding().Decode(std::string_view(Field).substr(6));
    Zn::FuzzCheck(Text == Form.UserName + ":" + Form.Password, "the field reads back");

    // Fields that the form doesn't look at change nothing.
    std::string Longer(Body);
    Longer.append("&remember=1");
    const Zn::LogonForm Again = Zn::ReadLogonForm(Longer);
    Zn::FuzzCheck(Again.UserName == Form.UserName && Again.Password == Form.Password,
                  "other fields don't matter");
    return 0;
}
