# What users link against is exported, type information included; what is private is not.
execute_process(COMMAND "${nm}" -DC --defined-only "${library}" OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
foreach(name IN ITEMS
        "vxFrequencyBuffer::get(long, long, bool) const" "vf_ForwardFFT(" "void vfForwardFFT<unsigned short>("
        "vfForwardFFT(vxFrequencyBuffer const&, vxFrequencyBuffer&)" "vf_InverseFFT(" "void vfInverseFFT<double>("
        "void vfInverseFFTAngle<unsigned char>(" "void vfInverseFFTQuadrant<double>(" "vf_ComputeAngleImage("
        "vf_ComputeQuadrantImage(" "operator||(vxArchive&, vxFrequencyBuffer&)"
        "vxFrequencyFilterBandPass::apply(vxFrequencyBuffer&) const" "typeinfo for vxFrequencyFilter"
        "vtable for vxFrequencyFilterBandPass" "typeinfo for vxFrequencyDefs::Errors"
        "typeinfo for vxFrequencyDefs::BadCoord" "vtable for vxFrequencyDefs::InvalidSize")
    string(FIND "${symbols}" "${name}" position)
    if(position EQUAL -1)
        message(SEND_ERROR "not exported: ${name}")
    endif()
endforeach()
foreach(name IN ITEMS "vf_RealFFT2D" "vf_ComplexFFT2D" "vf_PeriodicCopy" "vf_ClearPadding" "vf_Truncate")
    string(FIND "${symbols}" "${name}" position)
    if(NOT position EQUAL -1)
        message(SEND_ERROR "exported, but private: ${name}")
    endif()
endforeach()
