#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/Interfaces.h"
#include "common/Streams.h"
#include "platform/Api.h"

/// The body of a request. The request holds one reference until it is finished; who keeps another
/// one keeps the body alive beyond that.
class ZN_API IZnBodyContent : public virtual IInterface
{
public:
    static constexpr TGUID IID{"0a0d76b2-ee1c-442b-a879-dc0cc1a608f5"};

    /// The Content-Type field as the client sent it.
    virtual std::string GetContentType() = 0;
    /// The request's body has no bytes.
    virtual bool IsEmpty() = 0;
    /// In bytes.
    virtual std::int64_t GetSize() = 0;
    /// The bytes; the stream stays the body's. AResetPos puts its position to 0.
    virtual TZnStringStream* AsStream(bool AResetPos) = 0;
    /// The bytes decoded with the code page that GetBody chose by the content type.
    virtual std::string AsString() = 0;
};

/// The body of a request in memory.
class ZN_API TZnBodyContent : public TZnObjectAdapter<TZnStringStream>, public virtual IZnBodyContent
{
public:
    /// Owns the stream; AContentType is the request's, whose charset AsString goes by.
    TZnBodyContent(std::unique_ptr<TZnStringStream> ABody, std::string AContentType)
        : TZnObjectAdapter<TZnStringStream>(std::move(ABody)), FContentType(std::move(AContentType))
    {
    }

    std::string GetContentType() override { return FContentType; }
    bool IsEmpty() override { return GetSize() == 0; }
    std::int64_t GetSize() override { return GetObject()->GetSize(); }
    TZnStringStream* AsStream(bool AResetPos) override
    {
        if (AResetPos)
            GetObject()->SetPosition(0);
        return GetObject();
    }
    std::string AsString() override { return GetObject()->GetAsString(); }

private:
    std::string FContentType;
};
