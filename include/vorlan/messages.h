#pragma once

// All messages.
#include <vorlan/messages_engines.h>
#include <vorlan/messages_farm.h>
#include <vorlan/messages_jobs.h>
#include <vorlan/messages_master.h>
#include <vorlan/messages_output.h>
#include <vorlan/messages_requests.h>
