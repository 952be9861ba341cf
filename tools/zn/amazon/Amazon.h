#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

class TZnAmazonClient;

namespace Zn
{

/// Which account, and where its services are. Secrets come from the environment or the shared files alone.
struct TAmazonAccount
{
    std::string Region;
    std::string Endpoint;    // "http://localhost:4568"; empty for the public services
    std::string Profile;     // empty: the environment, then the usual one
    std::string Authorities; // a PEM file; empty: the system's
};

/// "bucket/path/of/key": the bucket and what stands behind its "/".
struct TStoragePath
{
    std::string Bucket;
    std::string Key;
};
TStoragePath StoragePath(const std::string& AText);

/// Gives AWork a client for the service and turns what it raises into a line on standard error and an exit
/// code.
int WithAmazonClient(const char* ACommand, const TAmazonAccount& AAccount, const std::string& AService,
                     const std::function<int(TZnAmazonClient& AClient)>& AWork);

/// Calls an operation with a body: the text itself, or "@FILE".
int CallAmazonService(const TAmazonAccount& AAccount, const std::string& AService, const std::string& ATarget,
                      const std::string& ABody);

enum class TStorageListing { Table, Json };

/// The buckets for an empty APath, else the keys behind it; with ADeep those in folders too.
int ListStorage(const TAmazonAccount& AAccount, const std::string& APath, bool ADeep, TStorageListing AForm);
/// AFile "-" is standard output; empty: the last part of the key.
int GetFromStorage(const TAmazonAccount& AAccount, const std::string& APath, const std::string& AFile);
/// A key that is empty or ends in "/" gets the file's name.
int PutIntoStorage(const TAmazonAccount& AAccount, const std::string& AFile, const std::string& APath);
int RemoveFromStorage(const TAmazonAccount& AAccount, const std::string& APath);
int PresignStorage(const TAmazonAccount& AAccount, const std::string& APath, bool AForWriting,
                   std::chrono::seconds AExpires);

} // namespace Zn
