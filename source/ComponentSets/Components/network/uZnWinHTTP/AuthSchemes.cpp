#include "uZnWinHTTP/AuthSchemes.h"

TWINHTTP_AUTH_SCHEME Zn::AuthSchemeOf(TZnHTTPAuthentication AAuthentication)
{
    switch (AAuthentication) {
    case authBasic:
        return asBASIC;
    case authDigest:
        return asDIGEST;
    case authNTLM:
        return asNTLM;
    case authNEGIOTIATE:
        return asNEGOTIATE;
    case authPassport:
        return asPASSPORT;
    default:
        throw Exception("Unsupported Authentication Type");
    }
}
