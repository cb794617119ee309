#pragma once

// The names of the domain library, for headers that only pass them on.

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

namespace corekit {
class String;
class UID;
class Time;
class Path;
class IniFile;
class InStream;
class OutStream;
} // namespace corekit

namespace vorlan {

using namespace corekit;
using boost::shared_ptr;
using boost::weak_ptr;

class ValueBlock;
class ValueBlockBuilder;
class VorlanObject;
class Job;
class CommonEngine;
class Engine;
class Product;
class Parameter;
class MutableParameterInfo;
class Command;
class JobFactory;
class JobFile;
class JobHistory;
class WorkHistory;
class WorkRun;
class WorkIndex;
class EngineHistory;
class Message;
class IPPeer;

} // namespace vorlan
