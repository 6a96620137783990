/*
 * A libupnp control point for the interoperability tests: subscribes to one
 * event URL and reports on stdout, one line each:
 *
 *   subscribed SID TIMEOUT
 *   event SID SEQ NAME=VALUE...    (the properties in document order)
 *   renewed TIMEOUT
 *   unsubscribed
 *   error WHAT CODE                (CODE is libupnp's error number)
 *
 * Commands on stdin, one a line: "renew", "unsubscribe", "quit" (also EOF).
 *
 * Usage: upnp-control-point EVENT_URL
 * Binds to 127.0.0.1 only, so the callback it sends points at loopback.
 */

#include "loopback-init.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#define TIMEOUT_REQUESTED 300

static pthread_mutex_t outputMutex = PTHREAD_MUTEX_INITIALIZER;

/* Event callbacks run on libupnp's threads: one line at a time. */
static void printLine(const char* line)
{
	pthread_mutex_lock(&outputMutex);
	fputs(line, stdout);
	fputc('\n', stdout);
	fflush(stdout);
	pthread_mutex_unlock(&outputMutex);
}

static void printError(const char* what, int code)
{
	char line[256];
	snprintf(line, sizeof line, "error %s %d", what, code);
	printLine(line);
}

static const char* textOf(IXML_Node* pElement)
{
	IXML_Node* pText = ixmlNode_getFirstChild(pElement);
	const char* value = pText ? ixmlNode_getNodeValue(pText) : NULL;
	return value ? value : "";
}

static void printEvent(const UpnpEvent* pEvent)
{
	char line[4096];
	size_t used = (size_t)snprintf(line, sizeof line, "event %s %d", UpnpEvent_get_SID_cstr(pEvent),
	                               UpnpEvent_get_EventKey(pEvent));
	IXML_NodeList* pProperties = ixmlDocument_getElementsByTagNameNS(
	    UpnpEvent_get_ChangedVariables(pEvent), "urn:schemas-upnp-org:event-1-0", "property");
	unsigned long count = pProperties ? ixmlNodeList_length(pProperties) : 0;
	for (unsigned long i = 0; i < count && used < sizeof line; ++i)
	{
		IXML_Node* pVariable = ixmlNode_getFirstChild(ixmlNodeList_item(pProperties, i));
		while (pVariable && ixmlNode_getNodeType(pVariable) != eELEMENT_NODE)
			pVariable = ixmlNode_getNextSibling(pVariable);
		if (!pVariable) continue;
		used += (size_t)snprintf(line + used, sizeof line - used, " %s=%s", ixmlNode_getNodeName(pVariable),
		                         textOf(pVariable));
	}
	if (pProperties) ixmlNodeList_free(pProperties);
	printLine(line);
}

static int onEvent(Upnp_EventType type, const void* pEvent, void* pCookie)
{
	(void)pCookie;
	if (type == UPNP_EVENT_RECEIVED) printEvent((const UpnpEvent*)pEvent);
	return 0;
}

int main(int argc, char** argv)
{
	if (argc != 2)
	{
		fprintf(stderr, "usage: upnp-control-point EVENT_URL\n");
		return 2;
	}
	int rc = initOnLoopback();
	if (rc != UPNP_E_SUCCESS)
	{
		printError("init", rc);
		return 1;
	}
	UpnpClient_Handle client = -1;
	Upnp_SID sid;
	memset(sid, 0, sizeof sid);
	rc = UpnpRegisterClient(onEvent, NULL, &client);
	if (rc != UPNP_E_SUCCESS)
	{
		printError("register", rc);
		UpnpFinish();
		return 1;
	}
	int timeout = TIMEOUT_REQUESTED;
	rc = UpnpSubscribe(client, argv[1], &timeout, sid);
	if (rc != UPNP_E_SUCCESS)
	{
		printError("subscribe", rc);
	}
	else
	{
		char line[128];
		snprintf(line, sizeof line, "subscribed %s %d", sid, timeout);
		printLine(line);
	}

	char command[64];
	while (fgets(command, sizeof command, stdin))
	{
		if (strncmp(command, "renew", 5) == 0)
		{
			timeout = TIMEOUT_REQUESTED;
			rc = UpnpRenewSubscription(client, &timeout, sid);
			if (rc != UPNP_E_SUCCESS)
			{
				printError("renew", rc);
			}
			else
			{
				char line[64];
				snprintf(line, sizeof line, "renewed %d", timeout);
				printLine(line);
			}
		}
		else if (strncmp(command, "unsubscribe", 11) == 0)
		{
			rc = UpnpUnSubscribe(client, sid);
			if (rc != UPNP_E_SUCCESS)
				printError("unsubscribe", rc);
			else
				printLine("unsubscribed");
		}
		else if (strncmp(command, "quit", 4) == 0)
		{
			break;
		}
	}
	UpnpUnRegisterClient(client);
	UpnpFinish();
	return 0;
}
