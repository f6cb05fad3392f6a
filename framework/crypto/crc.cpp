#include "framework/crypto/crc.h"

#include "framework/crypto/cpu_features.h"
#include "framework/crypto/crc_blocks.h"

static_assert(sizeof(CCrc) == 24, "field order and widths are the binary interface");

namespace
{
// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    QvResult (CCrc::*pfnBegin)(CCrc::ECrcType);
    QvResult (CCrc::*pfnEnd16)(uint16_t*);
    QvResult (CCrc::*pfnEnd32)(uint32_t*);
};
[[gnu::used]] constexpr SEmitted g_stEmitted = {&CCrc::Begin, &CCrc::End, &CCrc::End};

// Moves a register on by the fastest path. For what is less than one step of the tables, the detour over the
// multiplier takes longer.
uint32_t MoveOn(const orvel_internal::SCrcVariant& rstVariant, uint32_t uRegister, const uint8_t* puData, size_t uSize)
{
    using orvel_internal::CpuPath;
    using orvel_internal::ECpuAlgorithm;
    using orvel_internal::ECpuFeature;
    if (uSize >= orvel_internal::uCRC_SLICING_STEP) [[likely]]
    {
        // The constructor has asked the processor. To ask here would cost every call a stack frame.
        const unsigned int uFeatures = orvel_internal::g_uCpuFeatures.load(std::memory_order_relaxed);
        const ECpuFeature ePath = CpuPath(ECpuAlgorithm::eCRC, uFeatures);
        if (ePath == ECpuFeature::eCPU_VPCLMULQDQ) [[likely]]
            return CrcFoldVpclmul(rstVariant, uRegister, puData, uSize);
        if (ePath == ECpuFeature::eCPU_PCLMULQDQ) return CrcFoldPclmul(rstVariant, uRegister, puData, uSize);
    }
    return rstVariant.pfnSlice(uRegister, puData, uSize);
}
}  // namespace

CCrc::CCrc() : m_eType(eCRC16), m_uRegister(0), m_bActive(false)
{
    orvel_internal::CpuFeatures();
}

CCrc::~CCrc() = default;

QvResult CCrc::Update(const uint8_t* puData, unsigned int uSize)
{
    if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (uSize == 0) return QV_RES_OK;
    if (!m_bActive) return QV_RES_INVALID_STATE;
    if (m_eType > eCRC32) return QV_RES_FAIL;
    const orvel_internal::SCrcVariant& rstVariant = orvel_internal::g_astCrcVariants[m_eType];
    m_uRegister = MoveOn(rstVariant, m_uRegister & rstVariant.uRegisterMask, puData, uSize);
    return QV_RES_OK;
}

QvResult CCrc::Update(CBlob* pblobData)
{
    if (pblobData == nullptr) return QV_RES_INVALID_ARGUMENT;
    return Update(pblobData->GetFirstIndexPtr(), pblobData->GetSize());
}
