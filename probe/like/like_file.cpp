// SPDX-License-Identifier: MIT
#include "probe/like/like_file.h"

#include <utility>

#include "platform/linux/whole_file.h"
#include "platform/virtual/firmware/recorded_model.h"
#include "probe/json/pack.h"

namespace tavelo {

std::optional<std::vector<VirtualCameraModel>> modelsLike(const std::string& path, int count, Error& error) {
    const auto file = readWholeFile(path, longestPack, error);
    if (!file) return std::nullopt;
    if (!file->exists) {
        error = {ErrorCode::failed, "there is no such file"};
        return std::nullopt;
    }
    const auto record = readPack(file->bytes, error);
    if (!record) return std::nullopt;
    std::vector<VirtualCameraModel> models;
    for (int number = 1; number <= count; ++number) {
        auto model = modelLike(*record, number, error);
        if (!model) return std::nullopt;
        models.push_back(std::move(*model));
    }
    return models;
}

} // namespace tavelo
