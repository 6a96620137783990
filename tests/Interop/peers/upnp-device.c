/*
 * A libupnp device for the interoperability tests, on 127.0.0.1 without SSDP:
 * one service whose evented variables Status and LoadLevelStatus start at "0".
 * Prints "ready EVENT_URL" (or "error CODE"); each stdin line "set NAME VALUE"
 * changes a variable, notifies the subscribers and prints "notified NAME CODE".
 */

#include "loopback-init.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#define UDN "uuid:5d9a2c3e-7d0b-4c36-9a4f-3b1e0d2c8f10"
#define SERVICE_ID "urn:upnp-org:serviceId:Light"

static const char DESCRIPTION[] =
    "<?xml version=\"1.0\"?>\n<root xmlns=\"urn:schemas-upnp-org:device-1-0\"><specVersion><major>1</major>"
    "<minor>0</minor></specVersion><device><deviceType>urn:schemas-upnp-org:device:DimmableLight:1"
    "</deviceType><friendlyName>Interop test light</friendlyName><manufacturer>test</manufacturer>"
    "<modelName>test</modelName><UDN>" UDN "</UDN><serviceList><service><serviceType>"
    "urn:schemas-upnp-org:service:Dimming:1</serviceType><serviceId>" SERVICE_ID "</serviceId>"
    "<SCPDURL>/light/scpd.xml</SCPDURL><controlURL>/light/control</controlURL>"
    "<eventSubURL>/light/event</eventSubURL></service></serviceList></device></root>\n";

static const char* NAMES[2] = {"Status", "LoadLevelStatus"};
static char values[2][256] = {"0", "0"};
static const char* current[2] = {values[0], values[1]};
/* Guards values: subscription requests come on libupnp's threads. */
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static UpnpDevice_Handle device = -1;

static int onEvent(Upnp_EventType type, const void* pEvent, void* pCookie)
{
	const UpnpSubscriptionRequest* pRequest = pEvent;
	(void)pCookie;
	if (type != UPNP_EVENT_SUBSCRIPTION_REQUEST) return 0;
	pthread_mutex_lock(&mutex);
	UpnpAcceptSubscription(device, UpnpSubscriptionRequest_get_UDN_cstr(pRequest),
	                       UpnpSubscriptionRequest_get_ServiceId_cstr(pRequest), NAMES, current, 2,
	                       UpnpSubscriptionRequest_get_SID_cstr(pRequest));
	pthread_mutex_unlock(&mutex);
	return 0;
}

int main(void)
{
	char line[512], name[64], value[256];
	int rc = initOnLoopback();
	if (rc == UPNP_E_SUCCESS)
		rc = UpnpRegisterRootDevice2(UPNPREG_BUF_DESC, DESCRIPTION, sizeof DESCRIPTION - 1, 1, onEvent, NULL,
		                             &device);
	if (rc != UPNP_E_SUCCESS)
	{
		printf("error %d\n", rc);
		return 1;
	}
	printf("ready http://127.0.0.1:%u/light/event\n", UpnpGetServerPort());
	fflush(stdout);
	while (fgets(line, sizeof line, stdin) && sscanf(line, "set %63s %255s", name, value) == 2)
	{
		const int index = strcmp(name, NAMES[0]) == 0 ? 0 : 1;
		pthread_mutex_lock(&mutex);
		snprintf(values[index], sizeof values[index], "%s", value);
		rc = UpnpNotify(device, UDN, SERVICE_ID, &NAMES[index], &current[index], 1);
		pthread_mutex_unlock(&mutex);
		printf("notified %s %d\n", NAMES[index], rc);
		fflush(stdout);
	}
	UpnpUnRegisterRootDevice(device);
	UpnpFinish();
	return 0;
}
