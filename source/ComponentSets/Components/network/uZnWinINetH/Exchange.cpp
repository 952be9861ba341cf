#include "uZnWinINetH/Functions.h"

void InternetSetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize)
{
    if (!(*Zn::WinINet.SetOption)(AHandle, AOption, ABuffer, ASize))
        HttpCheckError("InternetSetOption", "");
}

void InternetSetOption(HINTERNET AHandle, std::uint32_t AOption, std::uint32_t AValue)
{
    InternetSetOption(AHandle, AOption, &AValue, sizeof(AValue));
}

void InternetQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (!(*Zn::WinINet.QueryOption)(AHandle, AOption, ABuffer, &ASize))
        HttpCheckError("InternetQueryOption", "");
}
