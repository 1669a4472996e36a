#ifndef MIVODATA_H
#define MIVODATA_H

/** @file
 * All of libmivo_data: what a plug-in or host may rely on, without the private records.
 */

#include "MivoArg.h"
#include "MivoBuddy.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoBuddyTemporary.h"
#include "MivoBuddyType.h"
#include "MivoBuffer.h"
#include "MivoCallActionEvent.h"
#include "MivoCallSlotEvent.h"
#include "MivoCallSlotTimeoutException.h"
#include "MivoField.h"
#include "MivoGarbageCollector.h"
#include "MivoGlobal.h"
#include "MivoPluginAction.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoRemovable.h"
#include "MivoResolution.h"
#include "MivoRingBuffer.h"
#include "MivoService.h"
#include "MivoSubscriptionType.h"
#include "MivoTimer.h"
#include "MivoWait.h"
#include "MivoXmlNode.h"

#endif
