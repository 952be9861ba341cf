#include <algorithm>

#include "common/Encoding.h"
#include "uZnHTTPServer/ConfigurationLists.h"
#include "uZnHTTPServer/ConfigurationQuery.h"

namespace
{

/// The text that begins at byte AStart of the answer, up to its zero; AStart moves behind that.
std::string TakeText(const Zn::ConfigurationAnswer& AAnswer, std::size_t& AStart)
{
    std::u16string Text;
    for (char16_t Unit = 0; AStart + sizeof Unit <= AAnswer.Length();) {
        std::memcpy(&Unit, AAnswer.Bytes() + AStart, sizeof Unit);
        AStart += sizeof Unit;
        if (Unit == 0)
            break;
        Text += Unit;
    }
    return Utf8FromUtf16(Text);
}

template <class TOperation>
void Change(TOperation AOperation, const std::string& APrefix, const std::string& ASecurityDescriptor)
{
    const std::u16string Prefix = Utf16FromUtf8(APrefix);
    const std::u16string Descriptor = Utf16FromUtf8(ASecurityDescriptor);
    const THTTP_SERVICE_CONFIG_URLACL_SET Record{{Prefix.c_str()}, {Descriptor.c_str()}};
    CheckResult(AOperation(0, HttpServiceConfigUrlAclInfo, &Record, sizeof Record, nullptr));
}

} // namespace

TZnHTTPServerUrlAclList::TZnHTTPServerUrlAclList(TZnHTTPServerConfiguration* AOwner) : FOwner(AOwner)
{
    Refresh();
}

PZnHTTPServerUrlAclReservation TZnHTTPServerUrlAclList::GetItem(int AIndex) const
{
    return Zn::ListItem(FList, AIndex);
}

void TZnHTTPServerUrlAclList::ClearList()
{
    while (!FList.empty())
        FList.pop_back();
}

void TZnHTTPServerUrlAclList::Refresh()
{
    ClearList();
    Zn::QueryConfigurationTable<THTTP_SERVICE_CONFIG_URLACL_QUERY>(
        HttpServiceConfigUrlAclInfo, [this](const Zn::ConfigurationAnswer& AAnswer) {
            auto Entry = std::make_unique<TZnHTTPServerUrlAclReservation>();
            std::size_t Start = sizeof(THTTP_SERVICE_CONFIG_URLACL_SET);
            Entry->UrlPrefix = TakeText(AAnswer, Start);
            Entry->SecurityDescriptor = TakeText(AAnswer, Start);
            FList.push_back(std::move(Entry));
        });
}

void TZnHTTPServerUrlAclList::Add(const std::string& APrefix, const std::string& ASecurityDescriptor)
{
    Change(Zn::HttpApi.HttpSetServiceConfiguration, APrefix, ASecurityDescriptor);
    Refresh();
}

void TZnHTTPServerUrlAclList::Delete(const std::string& APrefix, const std::string& ASecurityDescriptor)
{
    Change(Zn::HttpApi.HttpDeleteServiceConfiguration, APrefix, ASecurityDescriptor);
    Refresh();
}
