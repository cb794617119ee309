#pragma once

// What the tests of Jobs, Products and messages read.

#include "test.h"

#include <vorlan/discovery.h>
#include <vorlan/events.h>
#include <vorlan/failures.h>
#include <vorlan/job.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>
#include <vorlan/product.h>
#include <vorlan/productfile.h>
#include <vorlan/status.h>
#include <vorlan/version.h>
