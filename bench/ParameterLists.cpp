// What do named values and persistence cost beside containers and the libraries underneath?
#include <zip.h>
#include <pugixml.hpp>

#include <array>
#include <charconv>
#include <cstring>
#include <map>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <variant>

#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "contract/IROI.h"
#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"

namespace {

struct Named {
    const char* name;
    const wchar_t* wideName;
    double value;
};

// ---------------------------------------------------------------------------------------------------
// One list

constexpr std::array<Named, 8> kDonut = {{{"CenterX", L"CenterX", 428.5},
                                          {"CenterY", L"CenterY", 374.25},
                                          {"RadiusX1", L"RadiusX1", 66.125},
                                          {"RadiusY1", L"RadiusY1", 66.5},
                                          {"RadiusX2", L"RadiusX2", 84.0},
                                          {"RadiusY2", L"RadiusY2", 84.75},
                                          {"StartAngle", L"StartAngle", -30.1},
                                          {"DeltaAngle", L"DeltaAngle", 300.7}}};

Body GetAndSet(SmartPtr<IParametricObject> figure) {
    return Repeat([figure] {
        SmartPtr<INamedCollection> list;
        figure->GetParameters(list.Receive(), 0);
        return figure->SetParameters(list.Get());
    });
}

double ThroughMap() {
    std::map<std::wstring, std::variant<int, double, std::wstring>> list;
    for (const Named& entry : kDonut) {
        list[entry.wideName] = entry.value;
    }
    double sum = 0.0;
    for (const Named& entry : kDonut) {
        sum += std::get<double>(list.at(entry.wideName));
    }
    return sum;
}

double ThroughFileStorage() {
    cv::FileStorage writer(".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY);
    for (const Named& entry : kDonut) {
        writer << entry.name << entry.value;
    }
    const std::string text = writer.releaseAndGetString();
    const cv::FileStorage reader(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
    double sum = 0.0;
    for (const Named& entry : kDonut) {
        sum += static_cast<double>(reader[entry.name]);
    }
    return sum;
}

void AddList(const host::Session& session) {
    Row("parameter list of 8: get and set")
        .Ours(GetAndSet(NewFigure<IParametricObject>(session, "ROIDonut")))
        .Limit("std::map of std::variant, built and read", 2.0, Repeat(ThroughMap))
        .Peer("OpenCV FileStorage in memory", 5.0, Repeat(ThroughFileStorage));
}

// ---------------------------------------------------------------------------------------------------
// A hundred rectangles saved and loaded

constexpr int kFigures = 100;
constexpr std::array kNames = {"CenterX", "CenterY", "Width", "Height", "Angle", "FixedAspect", "RollGripLength"};
using Values = std::array<double, kNames.size()>;

std::string NameOf(int figure) { return "rectangle" + std::to_string(figure); }

// Coordinates as people drag them: most need all their digits.
Values ValuesOf(int figure) {
    const double i = figure;
    return {
        100.1 + 17.3 * i, 90.7 + 11.9 * i, 60.0 + i / 3.0, 40.0 + i / 7.0, 180.0 * (0.1 + 0.01 * i) / CV_PI, 0.0, 0.0};
}

std::vector<Values> AllValues() {
    std::vector<Values> all;
    for (int i = 0; i < kFigures; ++i) {
        all.push_back(ValuesOf(i));
    }
    return all;
}

struct Persistent {
    std::string name;
    SmartPtr<IDataPersist> figure;
};

std::vector<Persistent> Rectangles(const host::Session& session) {
    std::vector<Persistent> rectangles;
    for (int i = 0; i < kFigures; ++i) {
        const auto rectangle = NewFigure<IROIRectangle>(session, "ROIRectangle");
        const Values values = ValuesOf(i);
        rectangle->SetCenter(values[0], values[1]);
        rectangle->SetSize(values[2], values[3]);
        rectangle->put_Roll(values[4] * CV_PI / 180.0);
        rectangles.push_back({NameOf(i), SmartPtr<IDataPersist>::QueryFrom(rectangle.Get())});
    }
    return rectangles;
}

struct StringWriter final : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

std::string TextOf(const pugi::xml_document& document) {
    StringWriter writer;
    document.save(writer, "  ");
    return std::move(writer.text);
}

Body FiguresThroughXML(std::vector<Persistent> figures) {
    return Repeat([figures = std::move(figures)] {
        const auto saved = std::make_shared<pugi::xml_document>();
        pugi::xml_node root = saved->append_child("figures");
        for (const Persistent& figure : figures) {
            pugi::xml_node element = root.append_child("figure");
            element.append_attribute("name") = figure.name.c_str();
            figure.figure->Save(MakeXMLStream(saved, element.append_child("values")).Get(), 0);
        }
        const std::string text = TextOf(*saved);
        const auto loaded = std::make_shared<pugi::xml_document>();
        loaded->load_buffer(text.data(), text.size());
        pugi::xml_node element = loaded->child("figures").first_child();
        for (const Persistent& figure : figures) {
            figure.figure->Load(MakeXMLStream(loaded, element).Get(), 0);
            element = element.next_sibling();
        }
        return text.size();
    });
}

Body ValuesThroughXML(std::vector<Values> all) {
    return Repeat([all = std::move(all)]() mutable {
        pugi::xml_document saved;
        pugi::xml_node root = saved.append_child("figures");
        for (int i = 0; i < kFigures; ++i) {
            pugi::xml_node element = root.append_child("figure");
            element.append_attribute("name") = NameOf(i).c_str();
            pugi::xml_node values = element.append_child("values");
            for (std::size_t k = 0; k < kNames.size(); ++k) {
                char digits[32] = {};
                std::to_chars(digits, digits + sizeof digits - 1, all[static_cast<std::size_t>(i)][k]);
                values.append_child(kNames[k]).text() = digits;
            }
        }
        const std::string text = TextOf(saved);
        pugi::xml_document loaded;
        loaded.load_buffer(text.data(), text.size());
        pugi::xml_node element = loaded.child("figures").first_child();
        for (Values& values : all) {
            for (std::size_t k = 0; k < kNames.size(); ++k) {
                const char* digits = element.child("values").child(kNames[k]).text().get();
                std::from_chars(digits, digits + std::strlen(digits), values[k]);
            }
            element = element.next_sibling();
        }
        return text.size();
    });
}

std::string FolderOf(int figure) { return "figures/" + NameOf(figure); }

Body FiguresThroughFolders(std::vector<Persistent> figures) {
    return Repeat([figures = std::move(figures)] {
        const auto saved = std::make_shared<FolderArchive>();
        for (int i = 0; i < kFigures; ++i) {
            figures[static_cast<std::size_t>(i)].figure->Save(MakeFolderStream(saved, FolderOf(i)).Get(), 0);
        }
        const std::string bytes = saved->ToBytes();
        const auto loaded = std::make_shared<FolderArchive>(FolderArchive::FromBytes(bytes));
        for (int i = 0; i < kFigures; ++i) {
            figures[static_cast<std::size_t>(i)].figure->Load(MakeFolderStream(loaded, FolderOf(i)).Get(), 0);
        }
        return bytes.size();
    });
}

struct NamedDouble {
    char name[16];
    double value;
};
using Block = std::array<NamedDouble, kNames.size()>;

Block BlockOf(const Values& values) {
    Block block{};
    for (std::size_t k = 0; k < kNames.size(); ++k) {
        std::strncpy(block[k].name, kNames[k], sizeof block[k].name - 1);
        block[k].value = values[k];
    }
    return block;
}

void Check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

zip_source_t* NewSource(const void* data, std::size_t size) {
    zip_source_t* source = zip_source_buffer_create(data, size, 0, nullptr);
    Check(source != nullptr, "no zip source");
    zip_source_keep(source);  // One reference for the archive, one for us.
    return source;
}

// The blocks as a zip file in memory, each in a folder of its own and stored as it is.
std::string ZipOf(const std::vector<Block>& blocks) {
    zip_source_t* source = NewSource(nullptr, 0);
    zip_t* archive = zip_open_from_source(source, ZIP_TRUNCATE, nullptr);
    Check(archive != nullptr, "no archive");
    for (int i = 0; i < kFigures; ++i) {
        zip_source_t* block = zip_source_buffer(archive, &blocks[static_cast<std::size_t>(i)], sizeof(Block), 0);
        const zip_int64_t index = zip_file_add(archive, (FolderOf(i) + "/Parameters").c_str(), block, ZIP_FL_ENC_UTF_8);
        Check(index >= 0, "no entry");
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
    }
    Check(zip_close(archive) == 0, "not written");
    zip_stat_t written;
    zip_source_stat(source, &written);
    std::string bytes(written.size, '\0');
    zip_source_open(source);
    zip_source_read(source, bytes.data(), bytes.size());
    zip_source_close(source);
    zip_source_free(source);
    return bytes;
}

void ReadZip(const std::string& bytes, std::vector<Block>* blocks) {
    zip_source_t* source = NewSource(bytes.data(), bytes.size());
    zip_t* archive = zip_open_from_source(source, ZIP_RDONLY, nullptr);
    Check(archive != nullptr, "no archive");
    for (int i = 0; i < kFigures; ++i) {
        zip_file_t* file = zip_fopen(archive, (FolderOf(i) + "/Parameters").c_str(), 0);
        Check(file != nullptr, "no entry");
        Check(zip_fread(file, &(*blocks)[static_cast<std::size_t>(i)], sizeof(Block)) == sizeof(Block), "short entry");
        zip_fclose(file);
    }
    zip_discard(archive);
    zip_source_free(source);
}

Body ValuesThroughZip(std::vector<Values> all) {
    return Repeat([all = std::move(all)]() mutable {
        std::vector<Block> blocks;
        for (const Values& values : all) {
            blocks.push_back(BlockOf(values));
        }
        const std::string bytes = ZipOf(blocks);
        ReadZip(bytes, &blocks);
        for (int i = 0; i < kFigures; ++i) {
            for (std::size_t k = 0; k < kNames.size(); ++k) {
                all[static_cast<std::size_t>(i)][k] = blocks[static_cast<std::size_t>(i)][k].value;
            }
        }
        return bytes.size();
    });
}

void AddPersistence(const host::Session& session) {
    Row("save and load 100 rectangles, XML")
        .Ours(FiguresThroughXML(Rectangles(session)))
        .Limit("pugixml directly", 2.5, ValuesThroughXML(AllValues()));
    Row("save and load 100 rectangles, folders")
        .Ours(FiguresThroughFolders(Rectangles(session)))
        .Limit("libzip directly", 2.0, ValuesThroughZip(AllValues()));
}

}  // namespace

void AddParameters(const host::Session& session) {
    AddList(session);
    AddPersistence(session);
}
