#pragma once

#include <cstddef>

/** Room for a description: UTF-8, its terminating zero byte included. */
constexpr std::size_t ERROR_DESCRIPTION_SIZE = 160;

/** Rows of the catalogue. */
constexpr int ERROR_ROW_NUM = 782;

/** One code and its text in one language. */
struct stu_KestroError_Def {
    int nErrorNO;
    char lpszDescription[ERROR_DESCRIPTION_SIZE];
};
using KESTROERROR_DEF = stu_KestroError_Def;

/**
 * The catalogue, Chinese and English: the same codes in the same order, strictly ascending from 0 to 10074 with gaps.
 * It holds the codes of all layers of the database, so a code from the server is looked up here unchanged.
 */
extern const KESTROERROR_DEF g_pKestroErrorDef[ERROR_ROW_NUM];
extern const KESTROERROR_DEF g_pKestroErrorDefE[ERROR_ROW_NUM];

/**
 * The text of a code: Chinese, English, and in the language in use. Constant data, never null; printf conversions in it
 * are left as they are. A code without a row gives "未知错误码" or "Unknown error!".
 */
[[nodiscard]] const char* GetErrorDescription(int nError);
[[nodiscard]] const char* GetErrorDescriptionE(int nError);
[[nodiscard]] const char* GetErrorText(int nError);
