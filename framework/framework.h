#ifndef FRAMEWORK_FRAMEWORK_H
#define FRAMEWORK_FRAMEWORK_H

/// Every public header of the library.
#include "framework/basic/aatree.h"
#include "framework/basic/allocator.h"
#include "framework/basic/blob.h"
#include "framework/basic/list.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"
#include "framework/basic/string.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "framework/crypto/crypto.h"
#include "framework/crypto/hash.h"
#include "framework/crypto/hmac.h"
#include "framework/crypto/md5.h"
#include "framework/crypto/secure_prng.h"
#include "framework/crypto/secure_seed.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "framework/kernel/assertion.h"
#include "framework/kernel/export.h"
#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/package_id.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "framework/kernel/singleton.h"
#include "framework/kernel/string_format.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/unused_parameter.h"

#endif
