// Golden digests: a hash of everything each conversion route, demosaic
// member, de-interlacer and file writer writes for a fixed seeded input,
// padding, X bytes and the bytes around the image included, kept here from a
// build known to be right.  Any output byte that moves fails its row, on
// every processor and with the fast paths on or off.  The images are wide
// enough for a few vector blocks of every width and a tail, at unaligned
// addresses, with tight and odd strides.
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "support/convert_reach.h"
#include "support/demosaic_members.h"
#include "support/fake_buffers.h"
#include "support/routes.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

// FNV-1a, 64 bits, continuing from `hash`.
uint64_t Digest(const std::vector<uint8_t>& bytes, uint64_t hash = 0xCBF29CE484222325ull) {
  for (uint8_t b : bytes) hash = (hash ^ b) * 0x100000001B3ull;
  return hash;
}

std::vector<uint8_t> Seeded(size_t bytes, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<uint8_t> v(bytes);
  for (uint8_t& b : v) b = static_cast<uint8_t>(rng());
  return v;
}

// An image `offset` bytes into seeded memory that holds 8 bytes more than
// stride x height (what the demosaic members may read past their last row).
struct Image {
  Image(uint32_t format, uint32_t w, uint32_t h, uint32_t stride, uint32_t offset, uint32_t seed)
      : bytes(Seeded(offset + uint64_t{stride} * h + 8, seed)),
        handle(AddFakeBuffer(bytes.data() + offset, format, w, h, stride)) {}
  std::vector<uint8_t> bytes;
  BufferHandle handle;
};

// Two geometries: odd width, padded odd strides, odd address; even width,
// tight strides, another odd address.
struct Geometry {
  uint32_t w, h, src_extra, dst_extra, offset;
};
constexpr Geometry kGeometries[] = {{67, 5, 5, 3, 1}, {130, 4, 0, 0, 3}};

std::string Hex(uint64_t v) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%016" PRIX64, v);
  return text;
}

// In routes.def order.
constexpr uint64_t kRouteDigests[] = {
    0xB82DEEE76537CF10, 0xCF6AC27467AA1BD7, 0xF85441D434FF475B, 0x533E54DB362C6B0B, 0xDB2B35C09AA8D56C,
    0x49D3790F3C835438, 0x2593822C36F3A678, 0x4A06320BC1214181, 0x0CBD0075AA0F4F1E, 0xF99238642003C84D,
    0xA728F559B222D13C, 0x659170D6FA4D7173, 0x795C664515A325A2, 0xFF51BA0C9FC8910F, 0x796EE904B5EDA3E9,
    0x4A64BB34006B96D6, 0x0F0AA88F3D4D7D63, 0x09F86BCE7F13440D, 0x4C52C353F33EC536, 0x1DD5300B89F4F25E,
    0x535689707EFACA8A, 0x7636791597B94E71, 0x2FA07F7A371D448F, 0xCAA9F03557AAD5C3, 0xF251C52B9CAB261D,
    0xA35EB49C50E9C9CA, 0x38BAEBDF7078687A, 0x579B10AD50755330, 0xFBD50E90A0B6421D, 0xB8E50EA2ECE09628,
    0xD8163B979079454C, 0x9D45F1F535D2053A, 0x643E3AB2D445C1A3, 0xF9B2566F20F0F40D, 0xBBCAFC3A4B358536,
    0xB6CEA4921334F14E, 0x48DC8BE16EDC88C4, 0x71A7E1056199E70A, 0xBC5E1DB363E8F893, 0x2EBE39230275E1D0,
    0x0E1C8AF7A61DC911, 0xD17CECA8A1C12E18, 0xC33E057AFB240A55, 0x587C4DF96CA34EC9, 0x302ED40CAA587EC5,
    0x5401052B7F2D0F6F, 0x03A8B95A29C21594, 0xEEA4BC08CE39988E, 0x3649F468E1F686A1, 0xBFE5FA6E01E3C627,
    0x20B26A848C18A951, 0x56035326A7B2E943, 0x22CDB6475228EEFA, 0xC3FF49D6DE705284, 0xE0D160AEF8C01E6F,
    0x3AA3185776A3CEFB, 0x2D4C10313A3926F8, 0xEC933A76DECAB05E, 0x78CDD29FEB0E5489, 0x4429BB842BE46D5F,
    0x2473C5BE6901DA7F, 0x11691DE2E1910E7B, 0x4BED08BED5BCA79D, 0x2BE3969056EE43F6, 0x8E994F7F8ADE11FC,
    0xB0F8DC9BE1FEDDD5, 0x1C43C70C1CCFD1CF, 0x87144010A63312E1, 0x3DBF608B90BFE4FE, 0x7DB48D29114877BF,
    0xA7AEAFAB930C3DED, 0x39074AF4EA7BDAD1, 0x0DE58909D3CA9121, 0xCF5E908AE52614D0, 0x4B65CAB4F00E2F9E,
    0x56860899A9FDBF32, 0x1BF84371A7436C37, 0xE48AE8484138F7C4, 0x5DDDCC73929BE6BF, 0x2199D0C9358AE8B1,
    0xDE15B0805BB38280, 0xA53644E5AB3E2C62, 0xC1F611687BBA4591, 0xCA1D141370398390, 0xDC57631961727C1E,
    0x4A4D449BACC89956, 0x14E6300C3062736D, 0xF887E403B3A6783F, 0x61D8569497D1391D, 0x92A430C4D89025DB,
    0x53DFB0E2C6FD4567, 0x6ABFFE25EBA4A9C9, 0x50157EFB9DE91C60, 0xDB53158284627BC7, 0xFFE819FD6287114A,
    0x4490E933E6391245, 0xAFD466DF3D3755EE, 0xF9B1E9B8A69FCAAF, 0x8360E0BDC0F8AD3B, 0x913A5524F0812F71,
    0xEB10731B7129360C, 0xE44E5B81B7B5CA20, 0xC42C6DC196C5CD05, 0xCF4FFB9919E1070B, 0xB964FF4E56043013,
    0xAF0EEA58B1ABFE5F, 0x0AC4E34960E2C18F, 0xE492081DCC8C2DFC, 0x9CFD58F9C0A863F9, 0xA93C689870713F9F,
    0x81E341CFE97CA21B, 0x0CD8B4A07B8652B5, 0xF5BDCC8AF41A1222, 0x49D9FD2AB067C881, 0x606AD879ED27BE9B,
    0x9ACE9B78F13CA369, 0xAA455F9231BDE7EE, 0x4C95C31C43B07F9A, 0x0C858C42C99FA6F3, 0x426ADAF2DB7379F3,
    0x8E87A8F72CE6C5C4, 0xE04E88A8F6748E51, 0x3F46692A10C9C803, 0x18D13ACF7228238A, 0x369DF214F94B2AAC,
    0xC356CE4865FF716C, 0x7437D9285C22DA35, 0xFAC127254C8B082E, 0x3CA5E2C3B34CE895, 0x8B4CBEAB8254991C,
    0x286533825614FE96, 0xC4C6D7F031053D42, 0x3B77D32D2FE0A57E, 0x266E4CF84E3BABB5, 0xB29361DB0E418E21,
    0x98652A57D768B245, 0xFB575004DC8DB5BD, 0x468293857058BCFD, 0x9BD3BA62F67FF456, 0x92BFFBAB834CCA3C,
    0xA16355EA8AA55B08, 0xD9727663913417C7, 0xCBAE650DE852974B, 0x892C71DC9B017C74, 0x91042F2AE37DDF51,
    0xF91A8986F15D330C, 0x2654EC9225039BEC, 0xB9549EF7210ACDB6, 0x0E6B2FC947F07C53, 0x61F60DE5BDB74D81,
    0x079AD002454D49C4, 0xF0AC413C75B88C8C, 0xDF08B12B56165BB9, 0x6C9EA140BF68BF91, 0xF9FB9A611EA10AE6,
    0x4BD5C9FDCC1D3F0A, 0x97D69802B701C133, 0x78C85E7B28CDD7E5, 0x4ED8B892514A3580, 0x9D706AA51279FBBD,
    0xC87499A40C97A1B2, 0x18FC5C82B78140BA, 0x8B5B98E0C6572483, 0x0E2B7B0A1518BBAD, 0xD1DB57B5E0F9E979,
    0x514372CF1B180FF4, 0x6A30607F50E703BF, 0x61B138FC43DB74F2, 0xBED7184FF8E6936E, 0x04C9DCC373CF3D50,
    0x40F3A83E17DBBB45, 0x993F182602343DF6, 0x7E9D5970AC1A5527, 0x4489441D8F825870, 0xCD0D3D971A7EAFBA,
    0x801E761576313B9C, 0x850E799CD91F7307, 0xDFE9C86ECFF1D880, 0xFFA6365F15A4E207, 0x268E098B102F155C,
    0x89F1D6A092B9F9B5, 0xD3D6C192C607DE8C, 0x048F7E88E398E6F1, 0xA2DDF97695F1951A, 0x8868E229F42ECF38,
    0xFF54807C2F74CC29, 0xD484ACEC3B98787A, 0x1AEEF6B5FD81541C, 0xD7D5A03FEAD0A5A7, 0x2BC6675229B9E02B,
    0x7A7A3BBFCE0064DD, 0x5D05C5A5B82290C1, 0x94D0851FF8C94792, 0x0E7BE4A056E280F1, 0x0944F118F01C8E73,
    0xA8CA098407DC9CC0, 0x7AAE50214DABFD1E, 0xA6EB23A7152A32F6, 0x9EC6346F4BE5A24B,
};

TEST(Golden, EveryConversionRoute) {
  ResetFakeBuffers();
  const std::vector<Route>& routes = ConversionRoutes();
  ASSERT_EQ(std::size(kRouteDigests), routes.size());
  for (size_t r = 0; r < routes.size(); ++r) {
    const Route& route = routes[r];
    // Bayer routes: dup in phase A where only that exists, else ave in phase B.
    const bool dup_only = route.dst == Fmt::RGBX32 || route.dst == Fmt::BGR16;
    uint64_t digest = Digest({});
    for (const Geometry& g : kGeometries) {
      const uint32_t src_stride = LineReadBytes(route.src, g.w) + g.src_extra;
      const uint32_t dst_stride = g.w * BytesPerPixel(route.dst) + g.dst_extra;
      Image src(FullCode(route.src), g.w, g.h, src_stride, g.offset, uint32_t(2 * r));
      Image dst(FullCode(route.dst), g.w, g.h, dst_stride, g.offset, uint32_t(2 * r + 1));
      FakeBufferOf(src.handle).method = dup_only ? DEMOSAIC_METHOD_DUP : DEMOSAIC_METHOD_AVE;
      FakeBufferOf(src.handle).phase = dup_only ? BAYER_PHASE_A : BAYER_PHASE_B;
      ASSERT_EQ(QVI_Convert(src.handle, dst.handle), STATUS_OK) << int(route.src) << " -> " << int(route.dst);
      digest = Digest(dst.bytes, digest);
    }
    EXPECT_EQ(Hex(digest), Hex(kRouteDigests[r])) << "route " << r << ": " << int(route.src) << " -> "
                                                   << int(route.dst);
  }
}

// In members.def order.
constexpr uint64_t kMemberDigests[] = {
    0xA9C3868519CA02AA, 0xC6BF0A8588A232C5, 0xBAC690EABBFB7C28, 0xD101FCF42950FDC4, 0x8444FC5C4ED808E3,
    0xD5EA0E0EFA5D7FD6, 0x95B3155EF043E2A3, 0x511B4C71D7116367, 0xE17DC15DAEF0A6A2, 0xCE647DCA96651C58,
    0x2FE8DDFA8ED622C5, 0x362B4BEC6F1FC814, 0x56ED3F577E19A506, 0x19F8FA34D7C8F1F0, 0xECFCEFF436429F10,
    0x80F4B8845EFBCE06, 0xB230D7B935713691, 0x466202990079D57C, 0xE8A37D6BEC0D5A3A, 0xDBDEA5B60831F72F,
    0xE82120BBDE3D4F02, 0x0B6E5A50D70527BE, 0x7719D8800B56DAE5, 0xB8F771C78E3174D9, 0x2207A57BBCC1A8AF,
    0x66E813EE3148F687, 0x0C1749F2C969E310, 0x171843E862235847, 0x12B0480AE0B21146, 0x000F4A7BBD4EB300,
    0xF79BB40B925BCFA7, 0x7C6D2A312CB40DF6, 0xABAADBBD2F115409, 0x5F21DA2195DA9B83, 0x0996B23110770054,
    0x716000DF708C7FE6, 0x40D520E394FA60EE, 0xBA154E37FDB1427E, 0xEE56029A573CC6E9, 0xC31FAD6BEF493CFB,
    0x1CC46F1CBE53C14F, 0x95402F1CF76EF9FC, 0xA5D8CB130F51E9AB, 0x4C751726C4EC1CBC, 0x7B390D470697B6E6,
    0x74324B967A2E8792, 0xB5E0892C647E3D93, 0x3CD60CF799FE5681, 0x7531A68E7CAABE43, 0xDDC10FE0C5AD0A92,
    0xD193E30EF9508672, 0xB31745C2F515D820, 0xE6F3DE8743FC85F4, 0x82B7D09ACD3CFD72, 0xA9119A0D4B35400B,
    0xF04F493FAB495EAC, 0xAEB87A33FD6210B5, 0x1B5AC2E619738233, 0x6591A149BBB2D471, 0x787DD7EE4D0CBA1E,
    0xB6BFA2F2E614423B, 0x1454A78AD4875701, 0x87915959C5DB8B1B, 0xF11A2075614179B5, 0xA628B5037FFEDD92,
    0xCAFB599A36DF3A49, 0xB2A82D6C35717A6F, 0xC98A70A49C5EC412, 0xA5F8B448E0066AD5, 0x5293D365285BACE1,
    0xFD9363C1B01C04F3, 0x444787B5E1D134E9, 0xD090EEF4E077BE51, 0x7228BAE5D5E384A6, 0x2FE04A835297BB30,
    0x82AB691A0CA2E7B0, 0x8C80B307779211DB, 0xA975BFD915C458BF, 0x56C3D37A76F6858E, 0xA13A90707C357B25,
    0x8CC1A8CFAD2C31EF,
};

TEST(Golden, EveryDemosaicMember) {
  ResetFakeBuffers();
  const std::vector<DemosaicMember>& members = DemosaicMembers();
  ASSERT_EQ(std::size(kMemberDigests), members.size());
  for (size_t m = 0; m < members.size(); ++m) {
    const DemosaicMember& member = members[m];
    uint64_t digest = Digest({});
    for (const Geometry& g : kGeometries) {
      // Deep members at a depth that takes the wrapping sums and one that does not.
      for (uint32_t bits : member.deep() ? std::vector<uint32_t>{12, 16} : std::vector<uint32_t>{8}) {
        const uint32_t w = g.w - g.offset + 1, h = g.h + 1;  // 67x5 -> 67x6, 130x4 -> 128x5
        const uint32_t src_stride = w * member.sample_bytes() + g.src_extra;
        const uint32_t dst_stride = w * member.pixel_bytes() + g.dst_extra;
        Image src(member.source_format(), w, h, src_stride, g.offset, uint32_t(m));
        Image dst(member.destination_format(), w, h, dst_stride, g.offset, uint32_t(m + 1000));
        ASSERT_EQ(member.call(src.handle, dst.handle, bits), STATUS_OK) << member.name;
        digest = Digest(dst.bytes, digest);
      }
    }
    EXPECT_EQ(Hex(digest), Hex(kMemberDigests[m])) << member.name;
  }
}

// Every method over each format the interpolating methods take, both parities.
constexpr uint64_t kFieldDigests[] = {
    0xC48C3CFDC8BB1C4C, 0x226A45D96D03257A, 0xDEFAAD1C99D9CA49, 0x563C2A460601E3C9, 0x64D6179BECF5C39E,
    0x4899C59DA76CA6B8, 0x458A6C9371E11230, 0x6C073AD588C2A6F9, 0xB8AD0DFE7F6DA288, 0xC733819FB8309C99,
    0x141FF1F300DF3677, 0xBF3092A9938D35C5, 0x2DC3426C58B6F4A7, 0xAF028135B69B5E13, 0x4D3A422AACCA7E4F,
    0xFC8940407A78DA15,
};

TEST(Golden, EveryDeinterlacer) {
  ResetFakeBuffers();
  const FieldToFrameMethod methods[] = {FIELD_TO_FRAME_LINE_DUP, FIELD_TO_FRAME_LINE_AVE, FIELD_TO_FRAME_BILINEAR,
                                        FIELD_TO_FRAME_MEDIAN};
  const std::pair<uint32_t, uint32_t> formats[] = {{FMT_Y8, 1}, {FMT_BGR24, 3}, {FMT_BGRX32, 4}, {FMT_YUV422, 2}};
  ASSERT_EQ(std::size(kFieldDigests), std::size(methods) * std::size(formats));
  size_t row = 0;
  for (FieldToFrameMethod method : methods) {
    for (auto [format, bytes] : formats) {
      uint64_t digest = Digest({});
      for (const Geometry& g : kGeometries) {
        for (FieldParity parity : {0u, 1u}) {
          const uint32_t stride = g.w * bytes + g.src_extra;
          Image field(format, g.w, g.h, stride, g.offset, uint32_t(row));
          Image frame(format, g.w, 2 * g.h, stride + g.dst_extra, g.offset, uint32_t(row + 100));
          ASSERT_EQ(QVI_FieldToFrame(field.handle, frame.handle, method, parity), STATUS_OK);
          digest = Digest(frame.bytes, digest);
        }
      }
      EXPECT_EQ(Hex(digest), Hex(kFieldDigests[row])) << "method " << method << " format " << std::hex << format;
      ++row;
    }
  }
}

// The raw dump and the TIFF writer of every format it takes or gives up on.
constexpr uint64_t kFileDigests[] = {
    0x1809176A9A98E822, 0xD48743EC87AEB331, 0x77BDA776C726460E, 0x1E0E34F62E355EE1, 0xDB0E469FD811F5D8,
};

class GoldenFiles : public FileTest {};

TEST_F(GoldenFiles, EveryWriter) {
  const struct {
    FileKind kind;
    uint32_t format, bytes;
    Status status;
  } writers[] = {{FILE_KIND_RAW, FMT_BGR24, 3, STATUS_OK}, {FILE_KIND_TIFF, FMT_Y8, 1, STATUS_OK},
                 {FILE_KIND_TIFF, FMT_BGR24, 3, STATUS_OK}, {FILE_KIND_TIFF, FMT_RGB24, 3, STATUS_OK},
                 {FILE_KIND_TIFF, FMT_Y16, 2, STATUS_BAD_BUFFER}};
  ASSERT_EQ(std::size(kFileDigests), std::size(writers));
  for (size_t i = 0; i < std::size(writers); ++i) {
    uint64_t digest = Digest({});
    for (const Geometry& g : kGeometries) {
      Image image(writers[i].format, g.w, g.h, g.w * writers[i].bytes + g.src_extra, g.offset, uint32_t(i));
      const std::string path = Path("out");
      ASSERT_EQ(QVI_FileWrite(image.handle, path.c_str(), writers[i].kind), writers[i].status);
      digest = Digest(ReadFile(path), digest);
    }
    EXPECT_EQ(Hex(digest), Hex(kFileDigests[i])) << "writer " << i;
  }
}

}  // namespace
}  // namespace qvi::test
