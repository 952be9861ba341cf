"""Signs requests with botocore: one JSON object a line comes in, one Authorization value a line goes out.

Members: method, url, headers, body, region, service, id, key. Ends with 77 where python3-botocore isn't installed.
"""

import json
import sys

try:
    from botocore import auth, awsrequest, credentials
except ImportError:
    print("python3-botocore is not installed")
    sys.exit(77)


def authorization(request):
    account = credentials.Credentials(request["id"], request["key"])
    kind = auth.S3SigV4Auth if request["service"] == "s3" else auth.SigV4Auth
    signer = kind(account, request["service"], request["region"])
    again = awsrequest.AWSRequest(
        method=request["method"], url=request["url"], headers=request["headers"], data=request["body"].encode()
    )
    again.context["timestamp"] = request["headers"]["X-Amz-Date"]
    canonical = signer.canonical_request(again)
    again.context["signing"] = {}
    names = signer.headers_to_sign(again)
    signature = signer.signature(signer.string_to_sign(again, canonical), again)
    return "AWS4-HMAC-SHA256 Credential=%s, SignedHeaders=%s, Signature=%s" % (
        signer.scope(again),
        signer.signed_headers(names),
        signature,
    )


for line in sys.stdin:
    print(authorization(json.loads(line)), flush=True)
