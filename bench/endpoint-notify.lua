-- wrk script: NOTIFY requests for the subscription "uuid:bench" of
-- EndpointLoad notify, each a property set of three properties.
local body = '<?xml version="1.0"?>'
	.. '<e:propertyset xmlns:e="urn:schemas-upnp-org:event-1-0">'
	.. '<e:property><Volume>7</Volume></e:property>'
	.. '<e:property><Mute>0</Mute></e:property>'
	.. '<e:property><Status>OK</Status></e:property>'
	.. '</e:propertyset>'
wrk.method = "NOTIFY"
wrk.path = "/upnp-eventing"
wrk.body = body
wrk.headers["Content-Type"] = 'text/xml; charset="utf-8"'
wrk.headers["NT"] = "upnp:event"
wrk.headers["NTS"] = "upnp:propchange"
wrk.headers["SID"] = "uuid:bench"
wrk.headers["SEQ"] = "1"
