#include "framework/crypto/crc.h"

#include "framework/crypto/internal/cpu_features.h"
#include "framework/crypto/internal/crc_blocks.h"

static_assert(sizeof(CCrc) == 24, "field order and widths are the binary interface");

namespace
{
// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    QvResult (CCrc::*pfnBegin)(CCrc::ECrcType);
    QvResult (CCrc::*pfnUpdate)(const uint8_t*, unsigned int);
    QvResult (CCrc::*pfnEnd16)(uint16_t*);
    QvResult (CCrc::*pfnEnd32)(uint32_t*);
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {&CCrc::Begin, &CCrc::Update, &CCrc::End, &CCrc::End};

// Moves a register on by the fastest path. For what is less than one step of the tables, the detour over the
// multiplier takes longer.
inline uint32_t MoveOn(uint32_t uRegister, const uint8_t* puData, size_t uSize,
                       const orvel_internal::SCrcVariant& rstVariant)
{
    using orvel_internal::CpuPath;
    using orvel_internal::ECpuAlgorithm;
    using orvel_internal::ECpuFeature;
    if (orvel_internal::IsLikely(uSize >= orvel_internal::g_uCRC_SLICING_STEP))
    {
        // The constructor has asked the processor. To ask here would cost every call a stack frame.
        const unsigned int uFeatures = orvel_internal::g_uCpuFeatures.load(std::memory_order_relaxed);
        const ECpuFeature ePath = CpuPath(ECpuAlgorithm::eCRC, uFeatures);
        if (orvel_internal::IsLikely(ePath != ECpuFeature::eCPU_PORTABLE))
        {
            if (uSize == 16) return CrcFold16Pclmul(uRegister, puData, rstVariant);
            if (orvel_internal::IsLikely(ePath == ECpuFeature::eCPU_VPCLMULQDQ))
                return CrcFoldVpclmul(uRegister, puData, uSize, rstVariant);
            return CrcFoldPclmul(uRegister, puData, uSize, rstVariant);
        }
    }
    return rstVariant.pfnSlice(uRegister, puData, uSize);
}
}  // namespace

CCrc::CCrc() : m_eType(eCRC16), m_uRegister(0), m_bActive(false)
{
    orvel_internal::CpuFeatures();
}

CCrc::~CCrc() = default;

uint32_t CCrc::MoveOn16(uint32_t uRegister, const uint8_t* puData, unsigned int uSize)
{
    return MoveOn(uRegister & 0xFFFF, puData, uSize, orvel_internal::g_astCRC_VARIANTS[eCRC16]);
}

uint32_t CCrc::MoveOn32(uint32_t uRegister, const uint8_t* puData, unsigned int uSize)
{
    return MoveOn(uRegister, puData, uSize, orvel_internal::g_astCRC_VARIANTS[eCRC32]);
}

QvResult CCrc::Update(CBlob* pblobData)
{
    if (pblobData == nullptr) return QV_RES_INVALID_ARGUMENT;
    return Update(pblobData->GetFirstIndexPtr(), pblobData->GetSize());
}
