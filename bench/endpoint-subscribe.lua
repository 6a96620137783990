-- wrk script: new subscriptions to /svc of EndpointLoad subscribe; the
-- callback URL (the program's sink) is the script's first argument, and the
-- pause of each connection between an answer and its next request, in
-- milliseconds, the second (0 by default: as fast as the endpoint answers).
local request_text
local pause = 0

function init(args)
	local headers = {
		["CALLBACK"] = "<" .. args[1] .. ">",
		["NT"] = "upnp:event",
		["TIMEOUT"] = "Second-1800",
	}
	request_text = wrk.format("SUBSCRIBE", "/svc", headers, nil)
	pause = tonumber(args[2] or "0")
end

function delay()
	return pause
end

function request()
	return request_text
end
