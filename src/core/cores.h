// Every conversion core of the library, exported or internal. Per pair:
//   <a>sto<b>sPreflightLow    measuring core: adds the output size of a run
//   <a>sto<b>sConvertSafeLow  safe converter: never fills the last output unit
//   <a>sto<b>sConvertLow      fill converter: may fill the output exactly
//   <a>sto<b>sAllocLow        allocating core: writes into a qelChrXBuf
// UTF-16 -> UTF-32 has no fill converter. The exported ones are declared in
// qel/qelcore.h with their exact public types.
#pragma once

#include "common/common.h"
#include "qel/qelcore.h"

// UTF-16 -> UTF-8 (the rest are in qelcore.h)
int u16stou8sConvertLow(char** out, const char* outEnd, const char16_t** in, const char16_t* inEnd);

// UTF-8 -> UTF-16
int u8stou16sPreflightLow(unsigned int* count, const unsigned char** in, const unsigned char* inEnd);
int u8stou16sConvertSafeLow(char16_t** out, const char16_t* outEnd, const unsigned char** in,
                            const unsigned char* inEnd);
int u8stou16sAllocLow(qelChrXBuf<char16_t>* buf, char16_t** out, const char16_t** outEnd,
                      const unsigned char** in, const unsigned char* inEnd);

// UTF-8 -> UTF-32
int u8stou32sPreflightLow(unsigned int* count, const unsigned char** in, const unsigned char* inEnd);
int u8stou32sConvertSafeLow(unsigned int** out, const unsigned int* outEnd, const unsigned char** in,
                            const unsigned char* inEnd);
int u8stou32sConvertLow(unsigned int** out, const unsigned int* outEnd, const unsigned char** in,
                        const unsigned char* inEnd);
int u8stou32sAllocLow(qelChrXBuf<unsigned int>* buf, unsigned int** out, const unsigned int** outEnd,
                      const unsigned char** in, const unsigned char* inEnd);

// UTF-32 -> UTF-16
int u32stou16sPreflightLow(unsigned int* count, const unsigned int** in, const unsigned int* inEnd);
int u32stou16sConvertSafeLow(char16_t** out, const char16_t* outEnd, const unsigned int** in,
                             const unsigned int* inEnd);
int u32stou16sAllocLow(qelChrXBuf<char16_t>* buf, char16_t** out, const char16_t** outEnd,
                       const unsigned int** in, const unsigned int* inEnd);

// UTF-32 -> UTF-8
int u32stou8sPreflightLow(unsigned int* count, const unsigned int** in, const unsigned int* inEnd);
int u32stou8sConvertSafeLow(char** out, const char* outEnd, const unsigned int** in, const unsigned int* inEnd);
int u32stou8sConvertLow(char** out, const char* outEnd, const unsigned int** in, const unsigned int* inEnd);
int u32stou8sAllocLow(qelChrXBuf<char>* buf, char** out, const char** outEnd, const unsigned int** in,
                      const unsigned int* inEnd);
