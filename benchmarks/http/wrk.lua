-- wrk [options] -s wrk.lua URL -- [POST BYTES]
-- Posts BYTES bytes where asked to, and ends with one line that the bench reads.

function init(args)
    if args[1] == "POST" then
        wrk.method = "POST"
        wrk.body = string.rep("x", tonumber(args[2]))
        wrk.headers["Content-Type"] = "application/octet-stream"
    end
end

function done(summary, latency, requests)
    local errors = summary.errors
    io.write(string.format("figures %d %d %d %d %d %d %d %d %d\n",
        summary.requests, summary.duration, latency:percentile(50), latency:percentile(99),
        errors.connect, errors.read, errors.write, errors.status, errors.timeout))
end
