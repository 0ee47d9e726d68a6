// A plugin of clang-tidy that limits the checks to our own declarations. Nothing is reported about
// system headers anyway, and without them the checks take a third of the time.

#include <memory>
#include <string>
#include <vector>

#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/CompilerInstance.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

namespace {

class OwnDeclarations : public clang::ASTConsumer {
public:
    void HandleTranslationUnit(clang::ASTContext& context) override {
        const clang::SourceManager& sources = context.getSourceManager();
        std::vector<clang::Decl*> own;
        for (clang::Decl* const declaration : context.getTranslationUnitDecl()->decls()) {
            const clang::SourceLocation place = sources.getExpansionLoc(declaration->getLocation());
            if (place.isValid() && !sources.isInSystemHeader(place)) {
                own.push_back(declaration);
            }
        }
        context.setTraversalScope(own);
    }
};

class OwnDeclarationsAction : public clang::PluginASTAction {
protected:
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*compiler*/,
                                                          llvm::StringRef /*file*/) override {
        return std::make_unique<OwnDeclarations>();
    }
    bool ParseArgs(const clang::CompilerInstance& /*compiler*/,
                   const std::vector<std::string>& /*arguments*/) override {
        return true;
    }
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<OwnDeclarationsAction> gRegistration(
    "own-declarations", "checks look at what is no system header");

}  // namespace
