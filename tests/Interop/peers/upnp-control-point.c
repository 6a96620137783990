/*
 * A libupnp control point for the interoperability tests, on 127.0.0.1: it
 * subscribes to EVENT_URL and prints "subscribed SID TIMEOUT", then "event SID
 * SEQ NAME=VALUE..." (the properties in document order) for each event. Each
 * stdin line "renew" prints "renewed TIMEOUT", any other line unsubscribes and
 * prints "unsubscribed"; a failure prints "error WHAT CODE".
 */

#include "loopback-init.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

/* Events come on libupnp's threads: one line at a time. */
static pthread_mutex_t outputMutex = PTHREAD_MUTEX_INITIALIZER;

static void printLine(const char* line)
{
	pthread_mutex_lock(&outputMutex);
	printf("%s\n", line);
	fflush(stdout);
	pthread_mutex_unlock(&outputMutex);
}

static int onEvent(Upnp_EventType type, const void* pEvent, void* pCookie)
{
	char line[4096];
	size_t used = 0;
	(void)pCookie;
	if (type != UPNP_EVENT_RECEIVED) return 0;
	used = (size_t)snprintf(line, sizeof line, "event %s %d", UpnpEvent_get_SID_cstr(pEvent),
	                        UpnpEvent_get_EventKey(pEvent));
	IXML_NodeList* pProperties = ixmlDocument_getElementsByTagNameNS(
	    UpnpEvent_get_ChangedVariables(pEvent), "urn:schemas-upnp-org:event-1-0", "property");
	for (unsigned long i = 0; pProperties && i < ixmlNodeList_length(pProperties) && used < sizeof line; ++i)
	{
		IXML_Node* pVariable = ixmlNode_getFirstChild(ixmlNodeList_item(pProperties, i));
		while (pVariable && ixmlNode_getNodeType(pVariable) != eELEMENT_NODE)
			pVariable = ixmlNode_getNextSibling(pVariable);
		IXML_Node* pText = pVariable ? ixmlNode_getFirstChild(pVariable) : NULL;
		const char* text = pText ? ixmlNode_getNodeValue(pText) : NULL;
		if (pVariable)
			used += (size_t)snprintf(line + used, sizeof line - used, " %s=%s",
			                         ixmlNode_getNodeName(pVariable), text ? text : "");
	}
	if (pProperties) ixmlNodeList_free(pProperties);
	printLine(line);
	return 0;
}

int main(int argc, char** argv)
{
	UpnpClient_Handle client = -1;
	Upnp_SID sid = {0};
	char line[128];
	int timeout = 300;
	int rc = argc == 2 ? initOnLoopback() : UPNP_E_INVALID_PARAM;
	if (rc == UPNP_E_SUCCESS) rc = UpnpRegisterClient(onEvent, NULL, &client);
	if (rc == UPNP_E_SUCCESS) rc = UpnpSubscribe(client, argv[1], &timeout, sid);
	if (rc != UPNP_E_SUCCESS)
		snprintf(line, sizeof line, "error subscribe %d", rc);
	else
		snprintf(line, sizeof line, "subscribed %s %d", sid, timeout);
	printLine(line);
	while (rc == UPNP_E_SUCCESS && fgets(line, sizeof line, stdin))
	{
		const int renew = strncmp(line, "renew", 5) == 0;
		timeout = 300;
		rc = renew ? UpnpRenewSubscription(client, &timeout, sid) : UpnpUnSubscribe(client, sid);
		if (rc != UPNP_E_SUCCESS)
			snprintf(line, sizeof line, "error %s %d", renew ? "renew" : "unsubscribe", rc);
		else if (renew)
			snprintf(line, sizeof line, "renewed %d", timeout);
		else
			snprintf(line, sizeof line, "unsubscribed");
		printLine(line);
	}
	UpnpUnRegisterClient(client);
	UpnpFinish();
	return 0;
}
