// Adds to mingw's DirectComposition header the one interface that it lacks and VSTGUI asks for.
#pragma once

#include_next <dcomp.h>

#undef INTERFACE
#define INTERFACE IDCompositionVisual3
DECLARE_INTERFACE_IID_(IDCompositionVisual3, IDCompositionVisualDebug,
                       "2775F462-B6C1-4015-B0BE-B3E7D6A4976D") {
    STDMETHOD(SetDepthMode)(THIS_ DCOMPOSITION_DEPTH_MODE mode) PURE;
    STDMETHOD(SetOffsetZ)(THIS_ IDCompositionAnimation * animation) PURE;
    STDMETHOD(SetOffsetZ)(THIS_ float offset) PURE;
    STDMETHOD(SetOpacity)(THIS_ IDCompositionAnimation * animation) PURE;
    STDMETHOD(SetOpacity)(THIS_ float opacity) PURE;
    STDMETHOD(SetTransform)(THIS_ IDCompositionTransform3D * transform) PURE;
    STDMETHOD(SetTransform)(THIS_ const D2D_MATRIX_4X4_F& matrix) PURE;
    STDMETHOD(SetVisible)(THIS_ BOOL visible) PURE;
};
#undef INTERFACE
__CRT_UUID_DECL(IDCompositionVisual3, 0x2775f462, 0xb6c1, 0x4015, 0xb0, 0xbe, 0xb3, 0xe7, 0xd6,
                0xa4, 0x97, 0x6d);
