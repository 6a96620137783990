/*
 * A libupnp device for the interoperability tests: one root device with one
 * service whose evented variables are Status and LoadLevelStatus (both "0" at
 * start). It accepts every subscription with the current values (the initial
 * event) and reports on stdout, one line each:
 *
 *   ready EVENT_URL               (the service's absolute eventSubURL)
 *   subscribed SID                (a subscription was accepted)
 *   notified NAME VALUE           (after UpnpNotify returned)
 *   error WHAT CODE               (CODE is libupnp's error number)
 *
 * Commands on stdin, one a line: "set NAME VALUE" changes a variable and
 * notifies the subscribers; "quit" (also EOF) ends.
 *
 * Binds to 127.0.0.1 only. Sends no SSDP advertisements.
 */

#include "loopback-init.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#define UDN "uuid:5d9a2c3e-7d0b-4c36-9a4f-3b1e0d2c8f10"
#define SERVICE_ID "urn:upnp-org:serviceId:Light"
#define EVENT_PATH "/light/event"
#define VARIABLES 2
#define VALUE_SIZE 256

static const char DESCRIPTION[] = "<?xml version=\"1.0\"?>\n"
                                  "<root xmlns=\"urn:schemas-upnp-org:device-1-0\">"
                                  "<specVersion><major>1</major><minor>0</minor></specVersion>"
                                  "<device>"
                                  "<deviceType>urn:schemas-upnp-org:device:DimmableLight:1</deviceType>"
                                  "<friendlyName>Interop test light</friendlyName>"
                                  "<manufacturer>test</manufacturer><modelName>test</modelName>"
                                  "<UDN>" UDN "</UDN>"
                                  "<serviceList><service>"
                                  "<serviceType>urn:schemas-upnp-org:service:Dimming:1</serviceType>"
                                  "<serviceId>" SERVICE_ID "</serviceId>"
                                  "<SCPDURL>/light/scpd.xml</SCPDURL>"
                                  "<controlURL>/light/control</controlURL>"
                                  "<eventSubURL>" EVENT_PATH "</eventSubURL>"
                                  "</service></serviceList>"
                                  "</device></root>\n";

static const char* NAMES[VARIABLES] = {"Status", "LoadLevelStatus"};
static char values[VARIABLES][VALUE_SIZE] = {"0", "0"};
/* Guards values and stdout: subscription callbacks run on libupnp's threads. */
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static UpnpDevice_Handle device = -1;

static void printLine(const char* line)
{
	fputs(line, stdout);
	fputc('\n', stdout);
	fflush(stdout);
}

static void printError(const char* what, int code)
{
	char line[256];
	snprintf(line, sizeof line, "error %s %d", what, code);
	pthread_mutex_lock(&mutex);
	printLine(line);
	pthread_mutex_unlock(&mutex);
}

static void acceptSubscription(const UpnpSubscriptionRequest* pRequest)
{
	const char* sid = UpnpSubscriptionRequest_get_SID_cstr(pRequest);
	char line[128];
	pthread_mutex_lock(&mutex);
	const char* current[VARIABLES];
	for (int i = 0; i < VARIABLES; ++i)
		current[i] = values[i];
	const int rc = UpnpAcceptSubscription(device, UpnpSubscriptionRequest_get_UDN_cstr(pRequest),
	                                      UpnpSubscriptionRequest_get_ServiceId_cstr(pRequest), NAMES,
	                                      current, VARIABLES, sid);
	if (rc == UPNP_E_SUCCESS)
		snprintf(line, sizeof line, "subscribed %s", sid);
	else
		snprintf(line, sizeof line, "error accept %d", rc);
	printLine(line);
	pthread_mutex_unlock(&mutex);
}

static int onEvent(Upnp_EventType type, const void* pEvent, void* pCookie)
{
	(void)pCookie;
	if (type == UPNP_EVENT_SUBSCRIPTION_REQUEST) acceptSubscription((const UpnpSubscriptionRequest*)pEvent);
	return 0;
}

static void set(const char* name, const char* value)
{
	int index = -1;
	for (int i = 0; i < VARIABLES; ++i)
		if (strcmp(NAMES[i], name) == 0) index = i;
	if (index < 0)
	{
		printError("unknown-variable", 0);
		return;
	}
	pthread_mutex_lock(&mutex);
	snprintf(values[index], VALUE_SIZE, "%s", value);
	const char* changed[1] = {values[index]};
	const char* names[1] = {NAMES[index]};
	const int rc = UpnpNotify(device, UDN, SERVICE_ID, names, changed, 1);
	char line[VALUE_SIZE + 64];
	if (rc == UPNP_E_SUCCESS)
		snprintf(line, sizeof line, "notified %s %s", name, value);
	else
		snprintf(line, sizeof line, "error notify %d", rc);
	printLine(line);
	pthread_mutex_unlock(&mutex);
}

int main(void)
{
	int rc = initOnLoopback();
	if (rc != UPNP_E_SUCCESS)
	{
		printError("init", rc);
		return 1;
	}
	rc = UpnpRegisterRootDevice2(UPNPREG_BUF_DESC, DESCRIPTION, sizeof DESCRIPTION - 1, 1, onEvent, NULL,
	                             &device);
	if (rc != UPNP_E_SUCCESS)
	{
		printError("register", rc);
		UpnpFinish();
		return 1;
	}
	char line[128];
	snprintf(line, sizeof line, "ready http://127.0.0.1:%u%s", UpnpGetServerPort(), EVENT_PATH);
	pthread_mutex_lock(&mutex);
	printLine(line);
	pthread_mutex_unlock(&mutex);

	char command[VALUE_SIZE + 64];
	while (fgets(command, sizeof command, stdin))
	{
		char name[64];
		char value[VALUE_SIZE];
		if (sscanf(command, "set %63s %255s", name, value) == 2)
			set(name, value);
		else if (strncmp(command, "quit", 4) == 0)
			break;
	}
	UpnpUnRegisterRootDevice(device);
	UpnpFinish();
	return 0;
}
